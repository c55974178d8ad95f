// diff: what a driver moving from one chip (and variant) to another must know,
// for one class or for every class of the two chips.
#include "Diff.h"

#include "Catalog.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>

namespace Tool {

unsigned LayoutDiff::count(FieldChange::Kind kind) const {
  return static_cast<unsigned>(std::count_if(
      fields.begin(), fields.end(), [kind](const FieldChange& c) { return c.kind == kind; }));
}

namespace {

void diffGeometry(const Layout& a, const Layout& b, std::vector<GeometryChange>& out) {
  const auto note = [&out](const char* property, U64 from, U64 to, int instance) {
    if (from != to) out.push_back({property, instance, from, to});
  };
  note("widthWords", a.widthWords, b.widthWords, -1);
  note("arrayElements", a.arrayElements, b.arrayElements, -1);
  note("elementStride", a.elementStride, b.elementStride, -1);
  note("entries", a.entries, b.entries, -1);
  note("tableVariantCount", a.tableVariantCount, b.tableVariantCount, -1);
  note("instanceCount", a.instances.size(), b.instances.size(), -1);
  if (!a.instances.empty() && !b.instances.empty())
    note("address", a.instances[0].firstAddress, b.instances[0].firstAddress, -1);
  for (std::size_t i = 0; i < a.instances.size() && i < b.instances.size(); ++i) {
    note("subBlock", a.instances[i].subBlock, b.instances[i].subBlock, static_cast<int>(i));
    note("block", a.instances[i].block, b.instances[i].block, static_cast<int>(i));
  }
}

const char* kindName(FieldChange::Kind kind) {
  static const char* const kNames[] = {"added", "removed", "moved", "resized"};
  return kNames[kind];
}

std::string bitsText(const Field& f) {
  return "bits " + rangeText(f.offset, f.offset + f.width - 1u) + " (" + std::to_string(f.width) +
         ")";
}

}  // namespace

LayoutDiff diffLayouts(const Layout& a, const Layout& b) {
  LayoutDiff d;
  diffGeometry(a, b, d.geometry);
  std::map<U32, const Field*> inB;
  for (const auto& f : b.fields) inB[f.id] = &f;
  for (const auto& f : a.fields) {
    const auto it = inB.find(f.id);
    if (it == inB.end()) {
      d.fields.push_back({FieldChange::Removed, f, {}});
    } else if (it->second->offset != f.offset) {
      d.fields.push_back({FieldChange::Moved, f, *it->second});
    } else if (it->second->width != f.width) {
      d.fields.push_back({FieldChange::Resized, f, *it->second});
    } else {
      ++d.unchangedFields;
    }
    if (it != inB.end()) inB.erase(it);
  }
  for (const auto& f : b.fields)
    if (inB.count(f.id)) d.fields.push_back({FieldChange::Added, {}, f});
  return d;
}

std::vector<std::string> changeLines(const LayoutDiff& d) {
  std::vector<std::string> lines;
  for (const auto& g : d.geometry) {
    std::string what =
        g.instance < 0 ? g.property : "instance " + std::to_string(g.instance) + " " + g.property;
    what.resize(std::max<std::size_t>(what.size() + 1, 20), ' ');
    const auto value = [&g](U64 v) {
      return g.property == "address" ? addressText(static_cast<U32>(v), static_cast<U32>(v))
                                     : std::to_string(v);
    };
    lines.push_back(what + value(g.from) + " -> " + value(g.to));
  }
  for (const auto& c : d.fields) {
    const Field& f = c.kind == FieldChange::Added ? c.to : c.from;
    std::string line = kindName(c.kind);
    line.resize(8, ' ');
    line += f.name + " (" + f.hardwareName + ") ";
    if (c.kind != FieldChange::Added) line += bitsText(c.from);
    if (c.kind == FieldChange::Moved || c.kind == FieldChange::Resized) line += " -> ";
    if (c.kind != FieldChange::Removed) line += bitsText(c.to);
    lines.push_back(line);
  }
  return lines;
}

void addDiffKeys(Json& j, const LayoutDiff& d) {
  Json& geometry = j["geometry"] = Json::array();
  for (const auto& g : d.geometry) {
    Json row = {{"property", g.property}};
    if (g.instance >= 0) row["instance"] = g.instance;
    row["from"] = g.from;
    row["to"] = g.to;
    geometry.push_back(std::move(row));
  }
  Json& fields = j["fields"] = Json::array();
  for (const auto& c : d.fields) {
    const Field& f = c.kind == FieldChange::Added ? c.to : c.from;
    Json row = {{"change", kindName(c.kind)},
                {"name", f.name},
                {"hardwareName", f.hardwareName},
                {"id", f.id}};
    for (const auto& [key, side] : {std::make_pair("from", &c.from), std::make_pair("to", &c.to)})
      if (side->id) row[key] = {{"offset", side->offset}, {"width", side->width}};
    fields.push_back(std::move(row));
  }
  j["unchangedFields"] = d.unchangedFields;
}

namespace {

std::string countsText(const LayoutDiff& d) {
  return (d.empty() ? "the same" : "differs") + std::string(": ") +
         std::to_string(d.geometry.size()) +
         " geometry changes; fields: " + std::to_string(d.count(FieldChange::Added)) + " added, " +
         std::to_string(d.count(FieldChange::Removed)) + " removed, " +
         std::to_string(d.count(FieldChange::Moved)) + " moved, " +
         std::to_string(d.count(FieldChange::Resized)) + " resized, " +
         std::to_string(d.unchangedFields) + " unchanged";
}

int diffClass(const Args& a) {
  const Target from = resolveTarget(a), to = resolveTarget(a, "--to", "--to-variant");
  const LayoutDiff d = diffLayouts(layoutOf(from.cls, *from.object), layoutOf(to.cls, *to.object));
  const std::string what = from.cls + " on " + from.where() + " -> " + to.where();
  if (a.has("--json")) {
    Json j = {{"class", from.cls},
              {"from", {{"chip", chipName(from.chip)}, {"variant", from.variant}}},
              {"to", {{"chip", chipName(to.chip)}, {"variant", to.variant}}},
              {"differ", !d.empty()}};
    addDiffKeys(j, d);
    printJson(std::cout, j);
    return 0;
  }
  for (const auto& line : changeLines(d)) std::printf("  %s\n", line.c_str());
  std::printf("%s: %s\n", what.c_str(), countsText(d).c_str());
  return 0;
}

// The rows of one class in a diff of two chips: its variants that are on one
// chip only, and its common variants grouped by equal changes.
struct ClassRow {
  const ClassModel* cls;
  std::vector<U8> variants;
  std::string status;  // "changed", "onlyFrom", "onlyTo"
  LayoutDiff diff;
};

std::vector<U8> minus(const std::vector<U8>& x, const std::vector<U8>& y) {
  std::vector<U8> out;
  for (U8 v : x)
    if (std::find(y.begin(), y.end(), v) == y.end()) out.push_back(v);
  return out;
}

void addRows(const ClassModel& cls, Hardware::ChipType a, Hardware::ChipType b,
             std::vector<ClassRow>& rows) {
  const auto va = cls.variantsOn(a), vb = cls.variantsOn(b);
  std::vector<std::pair<std::vector<std::string>, std::size_t>> groups;  // lines, row
  for (U8 v : va) {
    if (!cls.find(b, v)) continue;
    LayoutDiff d = diffLayouts(*cls.find(a, v), *cls.find(b, v));
    if (d.empty()) continue;
    const auto lines = changeLines(d);
    auto g =
        std::find_if(groups.begin(), groups.end(), [&](const auto& x) { return x.first == lines; });
    if (g != groups.end()) {
      rows[g->second].variants.push_back(v);
    } else {
      groups.push_back({lines, rows.size()});
      rows.push_back({&cls, {v}, "changed", std::move(d)});
    }
  }
  if (const auto only = minus(va, vb); !only.empty()) rows.push_back({&cls, only, "onlyFrom", {}});
  if (const auto only = minus(vb, va); !only.empty()) rows.push_back({&cls, only, "onlyTo", {}});
}

std::string rowLabel(const ClassRow& r, Hardware::ChipType a, Hardware::ChipType b) {
  const bool several = r.cls->variantsOn(a).size() > 1 || r.cls->variantsOn(b).size() > 1;
  return r.cls->name + (several ? " v" + variantText(r.variants) : "");
}

void printChipRows(const std::vector<ClassRow>& rows, Hardware::ChipType a, Hardware::ChipType b) {
  std::size_t width = 5;
  for (const auto& r : rows) width = std::max(width, rowLabel(r, a, b).size());
  const int w = static_cast<int>(width);
  if (!rows.empty())
    std::printf("%-*s  %8s  %5s  %7s  %5s  %7s\n", w, "class", "geometry", "added", "removed",
                "moved", "resized");
  for (const auto& r : rows) {
    const std::string label = rowLabel(r, a, b);
    if (r.status != "changed") {
      std::printf("%-*s  only on %s\n", w, label.c_str(),
                  chipName(r.status == "onlyFrom" ? a : b).c_str());
      continue;
    }
    const auto& d = r.diff;
    std::printf("%-*s  %8zu  %5u  %7u  %5u  %7u\n", w, label.c_str(), d.geometry.size(),
                d.count(FieldChange::Added), d.count(FieldChange::Removed),
                d.count(FieldChange::Moved), d.count(FieldChange::Resized));
    for (const auto& line : changeLines(d))
      if (line.rfind("moved ", 0) == 0 || line.rfind("resized ", 0) == 0)
        std::printf("    %s\n", line.c_str());
  }
}

Json chipRowsJson(const std::vector<ClassRow>& rows) {
  Json out = Json::array();
  for (const auto& r : rows) {
    Json row = {{"class", r.cls->name}, {"variants", r.variants}, {"status", r.status}};
    if (r.status == "changed") addDiffKeys(row, r.diff);
    out.push_back(std::move(row));
  }
  return out;
}

int diffChips(const Args& a) {
  const std::string* toText = a.get("--to");
  if (!toText) fail("--to is required: the chip to compare with; known chips: " + chipList());
  for (const char* opt : {"--variant", "--to-variant"})
    if (a.has(opt))
      fail(std::string(opt) + " goes with a CLASS; diff CLASS --chip A --to B " + opt + " V");
  const auto from = parseChip(*a.get("--chip")), to = parseChip(*toText);
  const auto model = catalogueModel(from == to ? std::vector{from} : std::vector{from, to});
  std::vector<ClassRow> rows;
  std::size_t differing = 0, onlyFrom = 0, onlyTo = 0;
  for (const auto& cls : model) {
    const std::size_t before = rows.size();
    addRows(cls, from, to, rows);
    differing += rows.size() > before;
    onlyFrom += cls.variantsOn(to).empty();
    onlyTo += cls.variantsOn(from).empty();
  }
  const std::string summary =
      chipName(from) + " -> " + chipName(to) + ": " +
      (differing ? std::to_string(differing) + " of " + std::to_string(model.size()) +
                       " classes differ (" + std::to_string(onlyFrom) + " only on " +
                       chipName(from) + ", " + std::to_string(onlyTo) + " only on " + chipName(to) +
                       "), " + std::to_string(model.size() - differing) + " the same"
                 : "the same in all " + std::to_string(model.size()) + " classes");
  if (a.has("--json")) {
    printJson(std::cout, {{"from", chipName(from)},
                          {"to", chipName(to)},
                          {"differ", differing != 0},
                          {"classCount", model.size()},
                          {"differingClasses", differing},
                          {"classes", chipRowsJson(rows)}});
    return 0;
  }
  printChipRows(rows, from, to);
  std::printf("%s\n", summary.c_str());
  return 0;
}

}  // namespace

int cmdDiff(const Args& a) {
  if (a.positional.size() > 1)
    fail("unexpected argument " + quoted(a.positional[1]) + "; diff takes at most one class name");
  if (!a.has("--chip")) fail("--chip is required; known chips: " + chipList());
  return a.positional.empty() ? diffChips(a) : diffClass(a);
}

}  // namespace Tool
