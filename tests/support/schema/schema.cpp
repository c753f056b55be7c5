#include "tests/support/schema/schema.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

namespace test {

std::string SchemaViolation(const std::string& name, const std::string& text) {
  using Adapter = valijson::adapters::NlohmannJsonAdapter;
  std::ifstream file(std::string(VEXORA_SCHEMA_DIR) + "/" + name + ".json");
  const auto document = nlohmann::json::parse(file, nullptr, false);
  if (document.is_discarded()) return "there is no schema " + name;
  const auto message = nlohmann::json::parse(text, nullptr, false);
  if (message.is_discarded()) return "not JSON: " + text;
  valijson::Schema schema;
  valijson::SchemaParser(valijson::SchemaParser::kDraft7).populateSchema(Adapter(document), schema);
  valijson::ValidationResults results;
  if (valijson::Validator(valijson::Validator::kStrongTypes).validate(schema, Adapter(message), &results)) return {};
  std::string why;
  valijson::ValidationResults::Error error;
  while (results.popError(error)) {
    for (const std::string& step : error.context) why += step;
    why += ": " + error.description + "\n";
  }
  return why + text;
}

}  // namespace test
