#include "tests/support/schema/schema.h"

#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

namespace test {
namespace {

using Adapter = valijson::adapters::NlohmannJsonAdapter;

/// The schema of this name; null when there is none. Each thread reads it once.
const valijson::Schema* SchemaOf(const std::string& name) {
  thread_local std::map<std::string, std::unique_ptr<valijson::Schema>> schemas;
  const auto [known, is_new] = schemas.try_emplace(name);
  if (!is_new) return known->second.get();
  std::ifstream file(std::string(VEXORA_SCHEMA_DIR) + "/" + name + ".json");
  const auto document = nlohmann::json::parse(file, nullptr, false);
  if (document.is_discarded()) return nullptr;
  known->second = std::make_unique<valijson::Schema>();
  valijson::SchemaParser(valijson::SchemaParser::kDraft7).populateSchema(Adapter(document), *known->second);
  return known->second.get();
}

}  // namespace

std::string SchemaViolation(const std::string& name, const std::string& text) {
  const valijson::Schema* const schema = SchemaOf(name);
  if (schema == nullptr) return "there is no schema " + name;
  const auto message = nlohmann::json::parse(text, nullptr, false);
  if (message.is_discarded()) return "not JSON: " + text;
  valijson::ValidationResults results;
  if (valijson::Validator(valijson::Validator::kStrongTypes).validate(*schema, Adapter(message), &results)) return {};
  std::string why;
  valijson::ValidationResults::Error error;
  while (results.popError(error)) {
    for (const std::string& step : error.context) why += step;
    why += ": " + error.description + "\n";
  }
  return why + text;
}

}  // namespace test
