// search PATTERN: classes and fields over the whole catalogue by name.
#include <cctype>
#include <cstdio>
#include <iostream>
#include <map>
#include <utility>

#include "Catalog.h"
#include "Commands.h"
#include "Model.h"
#include "ModelJson.h"

namespace Tool {

namespace {

bool sameLetter(char x, char y) {
  return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
}

// Whether the glob `p` (with * and ?) matches all of `s`, letters in any case.
bool globMatch(const std::string& p, const std::string& s) {
  std::size_t i = 0, j = 0, star = std::string::npos, resume = 0;
  while (j < s.size()) {
    if (i < p.size() && (p[i] == '?' || (p[i] != '*' && sameLetter(p[i], s[j])))) {
      ++i;
      ++j;
    } else if (i < p.size() && p[i] == '*') {
      star = i++;
      resume = j;
    } else if (star != std::string::npos) {
      i = star + 1;
      j = ++resume;
    } else {
      return false;
    }
  }
  while (i < p.size() && p[i] == '*') ++i;
  return i == p.size();
}

// A glob matches the whole name; any other pattern a part of it.
bool nameMatches(const std::string& pattern, const std::string& name) {
  if (pattern.find_first_of("*?") != std::string::npos) return globMatch(pattern, name);
  return globMatch("*" + pattern + "*", name);
}

// One field of one class: where it lies, grouped by (offset, width).
struct FieldHit {
  const ClassModel* cls;
  Field field;
  std::map<std::pair<U16, U16>, std::vector<const Layout*>> places;
};

// The identifiers whose accessor or hardware name matches.
std::vector<U32> matchingIds(const std::string& pattern) {
  std::vector<U32> out;
  for (U32 id : allFieldIds())
    if (nameMatches(pattern, Hardware::fieldIdName(id)) ||
        nameMatches(pattern, Hardware::fieldIdAccessorName(id)))
      out.push_back(id);
  return out;
}

// The fields of a model that holds the matching fields alone.
std::vector<FieldHit> fieldHits(const std::vector<ClassModel>& model) {
  std::vector<FieldHit> hits;
  for (const auto& cls : model) {
    std::map<U32, FieldHit> byId;
    for (const auto& l : cls.layouts)
      for (const auto& f : l.fields) {
        auto& hit = byId.emplace(f.id, FieldHit{&cls, f, {}}).first->second;
        hit.places[{f.offset, f.width}].push_back(&l);
      }
    for (auto& [id, hit] : byId) hits.push_back(std::move(hit));
  }
  return hits;
}

std::vector<const Layout*> allLayouts(const ClassModel& cls) {
  std::vector<const Layout*> out;
  for (const auto& l : cls.layouts) out.push_back(&l);
  return out;
}

void printMatchesJson(const std::string& pattern, const std::vector<const ClassModel*>& classes,
               const std::vector<FieldHit>& fields) {
  Json classList = Json::array();
  for (const auto* c : classes) {
    Json chips = Json::array();
    std::string last;
    for (const auto& l : c->layouts)
      if (chipName(l.chip) != last) chips.push_back(last = chipName(l.chip));
    classList.push_back({{"class", c->name},
                         {"kind", c->memory ? "memory" : "register"},
                         {"chips", std::move(chips)}});
  }
  Json fieldList = Json::array();
  for (const auto& h : fields) {
    Json layouts = Json::array();
    for (const auto& [place, on] : h.places) {
      Json where = Json::array();
      for (const Layout* l : on) where.push_back({{"chip", chipName(l->chip)}, {"variant", l->variant}});
      layouts.push_back({{"offset", place.first}, {"width", place.second}, {"on", std::move(where)}});
    }
    fieldList.push_back({{"class", h.cls->name},
                         {"name", h.field.name},
                         {"hardwareName", h.field.hardwareName},
                         {"id", h.field.id},
                         {"layouts", std::move(layouts)}});
  }
  printJson(std::cout,
            {{"pattern", pattern}, {"classes", std::move(classList)}, {"fields", std::move(fieldList)}});
}

void printText(const std::string& pattern, const std::vector<const ClassModel*>& classes,
               const std::vector<FieldHit>& fields) {
  for (const auto* c : classes)
    std::printf("class  %s  %s on %s\n", c->name.c_str(), c->memory ? "memory" : "register",
                layoutsText(*c, allLayouts(*c)).c_str());
  for (const auto& h : fields) {
    std::printf("field  %s.%s  %s  id %u\n", h.cls->name.c_str(), h.field.name.c_str(),
                h.field.hardwareName.c_str(), h.field.id);
    for (const auto& [place, layouts] : h.places)
      std::printf("         bits %-9s width %-4u on %s\n",
                  rangeText(place.first, place.first + place.second - 1u).c_str(), place.second,
                  layoutsText(*h.cls, layouts).c_str());
  }
  std::printf("%zu class%s and %zu field%s match '%s'\n", classes.size(),
              classes.size() == 1 ? "" : "es", fields.size(), fields.size() == 1 ? "" : "s",
              pattern.c_str());
}

}  // namespace

int cmdSearch(const Args& a) {
  if (a.positional.size() != 1 || a.positional[0].empty())
    fail("search takes one PATTERN, a part of a name (engine) or a glob (ENGINE_*_MODE)");
  const std::string& pattern = a.positional[0];
  std::vector<Hardware::ChipType> chips;
  if (const std::string* chip = a.get("--chip")) chips.push_back(parseChip(*chip));
  const auto model = catalogueModel(chips, matchingIds(pattern));
  std::vector<const ClassModel*> classes;
  for (const auto& c : model)
    if (nameMatches(pattern, c.name)) classes.push_back(&c);
  const auto fields = fieldHits(model);
  if (a.has("--json"))
    printMatchesJson(pattern, classes, fields);
  else
    printText(pattern, classes, fields);
  return 0;
}

}  // namespace Tool
