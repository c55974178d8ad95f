// The model in JSON, one way for every command that writes it: a field, its
// place among the others, the block instances and a layout's geometry.
#pragma once

#include <nlohmann/json.hpp>

#include <ostream>
#include <vector>

#include "Model.h"

namespace Tool {

// Keys in the order they are set.
using Json = nlohmann::ordered_json;

// An empty object with room for `keys` keys. An object's keys are a vector
// whose growth copies every value (a key is const, so a pair can't move): an
// object that gets a large value (a list of fields) and then more keys wants
// its room first.
Json objectWithRoom(std::size_t keys);

// "name", "hardwareName", "id", "offset" and "width".
Json fieldJson(const Field& field);
// Adds "viewOf" and "overlaps" where the field has them.
void addViewKeys(Json& j, const std::vector<Field>& fields, const FieldView& view);
// The array "instances": identifier, subBlock, block, first and last address.
Json instancesJson(const std::vector<Instance>& instances);
// A layout's "chip", "chipNumber", "variant" and geometry, with "instances".
Json geometryJson(const Layout& layout);

// The value as text, two spaces a level; bytes that aren't UTF-8 are replaced.
std::string jsonText(const Json& j);
// The value and a line end.
void printJson(std::ostream& out, const Json& j);
// The value on one line, as JSON Lines hold it, with its line end.
std::string jsonLine(const Json& j);

}  // namespace Tool
