#include "ModelJson.h"

namespace Tool {

Json objectWithRoom(std::size_t keys) {
  Json j = Json::object();
  j.get_ref<Json::object_t&>().reserve(keys);
  return j;
}

Json fieldJson(const Field& f) {
  Json j = objectWithRoom(10);  // and the keys that decode and the views add
  j["name"] = f.name;
  j["hardwareName"] = f.hardwareName;
  j["id"] = f.id;
  j["offset"] = f.offset;
  j["width"] = f.width;
  return j;
}

void addViewKeys(Json& j, const std::vector<Field>& fields, const FieldView& view) {
  if (view.parent >= 0) j["viewOf"] = fields[static_cast<std::size_t>(view.parent)].name;
  if (view.crosses.empty()) return;
  Json& overlaps = j["overlaps"] = Json::array();
  for (int c : view.crosses) overlaps.push_back(fields[static_cast<std::size_t>(c)].name);
}

Json instancesJson(const std::vector<Instance>& instances) {
  Json out = Json::array();
  for (const auto& s : instances)
    out.push_back({{"identifier", s.identifier},
                   {"subBlock", s.subBlock},
                   {"block", s.block},
                   {"firstAddress", s.firstAddress},
                   {"lastAddress", s.lastAddress}});
  return out;
}

Json geometryJson(const Layout& l) {
  return {{"chip", chipName(l.chip)},
          {"chipNumber", static_cast<unsigned>(l.chip)},
          {"variant", l.variant},
          {"widthWords", l.widthWords},
          {"entryBytes", 4u * l.widthWords},
          {"arrayElements", l.arrayElements},
          {"elementStride", l.elementStride},
          {"entries", l.entries},
          {"tableVariantCount", l.tableVariantCount},
          {"instanceCount", l.instances.size()},
          {"fieldCount", l.fieldCount},
          {"address", l.instances.empty() ? 0u : l.instances[0].firstAddress},
          {"instances", instancesJson(l.instances)}};
}

std::string jsonText(const Json& j) {
  return j.dump(2, ' ', false, Json::error_handler_t::replace);
}

void printJson(std::ostream& out, const Json& j) {
  out << jsonText(j) << "\n";
}

std::string jsonLine(const Json& j) {
  return j.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace Tool
