// site DIR: the whole catalogue as static pages that open from file:// with
// nothing fetched: an index by subsystem, a page per class, a search over
// classes and fields on every page. The pages hold the data (JSON from the
// model, bit maps drawn as `map` draws them); site.js shows the layout of the
// chosen chip and variant and decodes a pasted entry. addresses.js holds where
// everything lies, for the search box's BLOCK:ADDRESS.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include "AddressIndex.h"
#include "Catalog.h"
#include "Commands.h"
#include "Files.h"
#include "Model.h"
#include "ModelJson.h"
#include "Pages.h"
#include "SiteAssets.h"
#include "Svg.h"

namespace Tool {

namespace {

// The distinct field lists of a class's layouts, each drawn once: `first`
// holds the first layout of each, `of[i]` the list of layout i.
struct Shapes {
  std::vector<const Layout*> first;
  std::vector<std::size_t> of;
};

bool sameFields(const Layout& x, const Layout& y) {
  if (x.widthWords != y.widthWords || x.fields.size() != y.fields.size()) return false;
  for (std::size_t i = 0; i < x.fields.size(); ++i) {
    const Field &f = x.fields[i], &g = y.fields[i];
    if (f.id != g.id || f.offset != g.offset || f.width != g.width) return false;
  }
  return true;
}

Shapes shapesOf(const ClassModel& c) {
  Shapes s;
  for (const auto& l : c.layouts) {
    std::size_t k = 0;
    while (k < s.first.size() && !sameFields(*s.first[k], l)) ++k;
    if (k == s.first.size()) s.first.push_back(&l);
    s.of.push_back(k);
  }
  return s;
}

// Field identifier: the classes that have the field on some chip, by name.
using ClassesByField = std::map<U32, std::vector<std::string>>;

ClassesByField classesByField(const std::vector<ClassModel>& model) {
  ClassesByField out;
  for (const auto& c : model)
    for (const auto& l : c.layouts)
      for (const auto& f : l.fields) {
        auto& names = out[f.id];
        if (names.empty() || names.back() != c.name) names.push_back(c.name);
      }
  return out;
}

std::string chipsText(const ClassModel& c) {
  const auto chips = knownChips();
  const bool everywhere = std::all_of(chips.begin(), chips.end(), [&](Hardware::ChipType chip) {
    return !c.variantsOn(chip).empty();
  });
  if (everywhere) return "all " + std::to_string(chips.size()) + " chips";
  std::vector<const Layout*> all;
  for (const auto& l : c.layouts) all.push_back(&l);
  return layoutsText(c, all);
}

std::string indexPage(const std::vector<ClassModel>& model) {
  std::map<std::string, std::vector<const ClassModel*>> bySubsystem;
  for (const auto& c : model) bySubsystem[classOf(c.name).subsystem].push_back(&c);
  std::vector<std::string> chips;
  for (const auto chip : knownChips()) chips.push_back(chipName(chip));
  std::ostringstream h;
  h << sitePageHead("Counter register reference", chips)
    << "<h1>Counter register reference</h1>\n<p>" << model.size() << " registers and memories on "
    << knownChips().size()
    << " chips. Each page shows a class's geometry, instance addresses, bit map and fields on "
       "the chip and variant you choose, and decodes an entry you paste.</p>\n";
  for (const auto& [subsystem, classes] : bySubsystem) {
    h << "<h2>" << escapeHtml(subsystem) << "</h2>\n<table class=\"index\">\n"
      << "<tr><th>class</th><th>kind</th><th>chips</th><th>what it holds</th></tr>\n";
    for (const auto* c : classes)
      h << "<tr><td><a href=\"" << c->name << ".html\">" << c->name << "</a></td><td>"
        << (c->memory ? "memory" : "register") << "</td><td class=\"chips\">"
        << escapeHtml(chipsText(*c)) << "</td><td>" << escapeHtml(classOf(c->name).summary)
        << "</td></tr>\n";
    h << "</table>\n";
  }
  h << sitePageTail();
  return h.str();
}

// The class as the page's script reads it: its field lists ("shapes", each
// field with the other classes that have it) and its layouts, each naming
// its shape.
std::string classData(const ClassModel& c, const Shapes& shapes, const ClassesByField& byField) {
  Json shapeList = Json::array();
  for (const Layout* l : shapes.first) {
    Json fields = Json::array();
    for (std::size_t i = 0; i < l->fields.size(); ++i) {
      Json f = fieldJson(l->fields[i]);
      addViewKeys(f, l->fields, l->views[i]);
      Json& also = f["alsoIn"] = Json::array();
      for (const auto& other : byField.at(l->fields[i].id))
        if (other != c.name) also.push_back(other);
      fields.push_back(std::move(f));
    }
    shapeList.push_back({{"widthWords", l->widthWords}, {"fields", std::move(fields)}});
  }
  Json layouts = Json::array();
  for (std::size_t i = 0; i < c.layouts.size(); ++i) {
    Json l = geometryJson(c.layouts[i]);
    l["shape"] = shapes.of[i];
    layouts.push_back(std::move(l));
  }
  const Json data = {{"class", c.name},
                     {"kind", c.memory ? "memory" : "register"},
                     {"shapes", std::move(shapeList)},
                     {"layouts", std::move(layouts)}};
  // Names are identifiers, but nothing in the data may close the script element.
  std::string out = jsonText(data) + "\n";
  for (std::size_t at = 0; (at = out.find("</", at)) != std::string::npos; at += 3)
    out.replace(at, 2, "<\\/");
  return out;
}

std::string classPage(const ClassModel& c, const ClassesByField& byField) {
  const Shapes shapes = shapesOf(c);
  const auto& note = classOf(c.name);
  std::ostringstream h;
  h << sitePageHead(c.name) << "<p id=\"notice\" class=\"error\" hidden></p>\n<h1>" << c.name
    << "</h1>\n<p class=\"sub\">"
    << (c.memory ? "memory" : "register") << " in " << escapeHtml(note.subsystem) << ": "
    << escapeHtml(note.summary) << "<br>on " << escapeHtml(chipsText(c)) << "</p>\n"
    << "<p class=\"pick\"><label>chip <select id=\"chip\"></select></label>\n"
       "<label>variant <select id=\"variant\"></select></label></p>\n"
       "<noscript><p>The tables, bit map and decoder need JavaScript.</p></noscript>\n"
       "<h2>Geometry</h2>\n<table id=\"geometry\"></table>\n"
       "<h2>Instances</h2>\n<table id=\"instances\"></table>\n<p id=\"address-rule\"></p>\n"
       "<h2>Bit map</h2>\n<div id=\"bitmap\"></div>\n";
  for (std::size_t k = 0; k < shapes.first.size(); ++k)
    h << "<template id=\"shape-" << k << "\">\n"
      << layoutSvg(shapes.first[k]->fields, shapes.first[k]->widthWords, "", "") << "</template>\n";
  h << "<h2>Fields</h2>\n<table id=\"fields\"></table>\n"
       "<h2>Decode</h2>\n<p>Paste the entry's bytes in buffer order, byte 0 (bits 0..7) "
       "first, as a hex dump shows them: <code>01 02 03 04</code>, <code>01:02:03:04</code> or "
       "<code>0x01020304</code>; or, with <i>words</i> ticked, its 32-bit words, word 0 (bits "
       "0..31) first, as a register read prints them: <code>0x1f 0xffffffff</code>. Over "
       "several lines too, with <code>#</code> comments. Shorter input is completed with "
       "zeros.</p>\n"
       "<p><label><input type=\"checkbox\" id=\"words\"> words</label></p>\n"
       "<textarea id=\"hex\" rows=\"3\" spellcheck=\"false\" "
       "placeholder=\"01 00 00 00 ff ff ff ff\"></textarea>\n"
       "<p id=\"decode-note\"></p>\n<table id=\"decoded\"></table>\n<p id=\"decode-after\"></p>\n"
       "<script type=\"application/json\" id=\"class-data\">\n"
    << classData(c, shapes, byField) << "</script>\n"
    << sitePageTail();
  return h.str();
}

// search.js: the classes and fields that the search box on every page filters.
std::string searchIndex(const std::vector<ClassModel>& model, const ClassesByField& byField) {
  Json classes = Json::array();
  for (const auto& c : model)
    classes.push_back({{"name", c.name},
                       {"kind", c.memory ? "memory" : "register"},
                       {"summary", classOf(c.name).summary}});
  Json fields = Json::array();
  for (const auto& [id, names] : byField)
    fields.push_back({{"name", Hardware::fieldIdAccessorName(id)},
                      {"hardwareName", Hardware::fieldIdName(id)},
                      {"classes", names}});
  return "// Generated by tessel-counters site: the names the search box filters.\n"
         "const TC_INDEX = " +
         jsonText({{"classes", std::move(classes)}, {"fields", std::move(fields)}}) + ";\n";
}

// addresses.js: every chip's placements from its address index, which the
// search box reads to answer BLOCK:ADDRESS. A row per class, instance and
// place, the variants that lie there together:
//   [class, [variants], instance, subBlock, block, base, elements, stride, entries]
// where entry t of element a lies at base + a * stride + t; `class` indexes
// "classes". A row a line, so that two sites diff by placement.
std::string addressData() {
  const auto& catalogue = Hardware::catalogueDescription();
  Json classes = Json::array();
  for (U32 c = 0; c < catalogue.classCount; ++c) classes.push_back(catalogue.classes[c].name);
  std::string out =
      "// Generated by tessel-counters site: where each class lies on each chip, for the "
      "search box's BLOCK:ADDRESS.\nconst TC_ADDRESSES = {\"classes\": " +
      classes.dump() + ", \"chips\": {";
  const auto chips = knownChips();
  for (std::size_t k = 0; k < chips.size(); ++k) {
    const auto& index = AddressIndex::of(chips[k]);
    out += (k ? "],\n" : "\n") + Json(chipName(chips[k])).dump() + ": [";
    for (std::size_t g = 0; g < index.groups().size(); ++g) {
      const auto& group = index.groups()[g];
      const Placement& p = index.placements()[group.placements.front()];
      const Json row = {p.classIndex, group.variants, p.instance, p.subBlock, p.block,
                        p.base,       p.elements,     p.stride,   p.entries};
      out += (g ? ",\n" : "\n") + row.dump();
    }
  }
  return out + "]\n}};\n";
}

// The list of what the site wrote into its folder, kept there: a later site
// replaces those files and no other.
const char* const kWritten = ".tessel-counters-site";

std::set<std::string> writtenBefore(const std::filesystem::path& dir) {
  std::set<std::string> names;
  std::error_code error;
  if (!std::filesystem::exists(dir / kWritten, error)) return names;
  std::istringstream list(readIn((dir / kWritten).string()));
  for (std::string name; std::getline(list, name);)
    if (!name.empty() && name[0] != '#') names.insert(name);
  return names;
}

// Refuses to write a file over one that a person put there: one the list
// doesn't name, unless it already holds the same text.
void checkOurs(const std::filesystem::path& dir, const std::string& name, const std::string& text,
               const std::set<std::string>& ours) {
  const auto path = dir / name;
  std::error_code error;
  const auto status = std::filesystem::symlink_status(path, error);
  if (!std::filesystem::exists(status)) return;
  if (std::filesystem::is_regular_file(status) && ours.count(name)) return;
  if (std::filesystem::is_regular_file(status) && readIn(path.string()) == text) return;
  fail(quoted(path.string()) +
       " is in the way: the site writes only over files that it wrote "
       "there before (" +
       kWritten + " lists them); give a new folder, or move that away");
}

}  // namespace

int cmdSite(const Args& a) {
  if (a.positional.size() != 1)
    fail("site takes one DIR, the folder to write the site into (made if missing)");
  const std::filesystem::path dir = a.positional[0];
  std::error_code error;
  std::filesystem::create_directories(dir, error);
  if (error || !std::filesystem::is_directory(dir))
    fail("cannot make the folder " + quoted(dir.string()) + ": " +
         (error ? error.message() : std::string("a file of that name is in the way")));
  const auto model = catalogueModel({});
  const auto byField = classesByField(model);
  std::vector<std::pair<std::string, std::string>> files;  // name, text
  for (const auto& asset : siteAssets()) files.emplace_back(asset.name, asset.text);
  files.emplace_back("search.js", searchIndex(model, byField));
  files.emplace_back("addresses.js", addressData());
  files.emplace_back("index.html", indexPage(model));
  for (const auto& c : model) files.emplace_back(c.name + ".html", classPage(c, byField));

  std::set<std::string> ours = writtenBefore(dir);
  std::string list = std::string(
      "# The files that tessel-counters site wrote here; it replaces "
      "these and changes no other.\n");
  for (const auto& [name, text] : files) checkOurs(dir, name, text, ours);
  for (const auto& [name, text] : files) ours.insert(name);
  for (const auto& name : ours) list += name + "\n";
  checkOurs(dir, kWritten, list, {kWritten});
  FileSet out;
  for (const auto& [name, text] : files) out.add((dir / name).string(), text);
  out.add((dir / kWritten).string(), list);
  out.commit();
  std::cout << "wrote " << files.size() << " files to " << dir.string() << "; open "
            << (dir / "index.html").string() << "\n";
  return 0;
}

}  // namespace Tool
