#pragma once

#include <string>

namespace test {

/// Why a JSON text does not follow the schema `docs/schemas/NAME.json`; empty when it does.
std::string SchemaViolation(const std::string& name, const std::string& text);

}  // namespace test
