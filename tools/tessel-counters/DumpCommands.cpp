// dump list | decode | diff: a chip's registers and memories as a script
// dumps them (DumpFormat.h), each entry found through the chip's address
// index and decoded as decode decodes one.
#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <memory>
#include <tuple>

#include "AddressIndex.h"
#include "Commands.h"
#include "DumpFormat.h"
#include "Files.h"
#include "Locate.h"

namespace Tool {

namespace {

std::string plural(std::size_t n, const char* one, const char* many) {
  return std::to_string(n) + " " + (n == 1 ? one : many);
}

// One way to read an entry of a dump: a class and instance at its place, the
// variants of it there that lie alike, and their decoder.
struct Reading {
  Location where;
  Decoder* decoder;
};

// What lies at the entries of one chip's dumps, with a decoder for each class
// and variant met, made once.
class Readings {
 public:
  Readings(Hardware::ChipType chip, const std::string* variant) : chip_(chip) {
    if (variant) {
      variant_ = static_cast<U8>(parseNumber(*variant, "--variant", 255));
      hasVariant_ = true;
    }
  }

  Hardware::ChipType chip() const { return chip_; }

  // The readings of the entry's place, one for each class and instance there
  // and each group of its variants with the same layout; a UsageError says
  // why there is none.
  std::vector<Reading> of(const DumpEntry& e) {
    const auto found =
        AddressIndex::of(chip_).locate(e.block, e.address, e.anySubBlock ? nullptr : &e.subBlock);
    if (found.empty()) fail("nothing of the catalogue lies there on " + chipName(chip_));
    std::vector<Reading> out;
    for (const auto& l : found) {
      std::vector<U8> variants = l.variants;
      if (hasVariant_) {
        if (std::find(variants.begin(), variants.end(), variant_) == variants.end()) continue;
        variants = {variant_};
      }
      if (const Known* all = alike(l.cls)) {  // one reading, found at once
        out.push_back({l, all->decoder.get()});
        out.back().where.variants = std::move(variants);
        continue;
      }
      const std::size_t first = out.size();
      std::vector<std::size_t> shapes;  // of out[first..]
      for (U8 v : variants) {
        const Known& k = known(l.cls, v);
        const auto same = std::find(shapes.begin(), shapes.end(), k.shape);
        if (same != shapes.end()) {
          out[first + static_cast<std::size_t>(same - shapes.begin())].where.variants.push_back(v);
          continue;
        }
        shapes.push_back(k.shape);
        Location where = l;
        where.variants = {v};
        out.push_back({std::move(where), k.decoder.get()});
      }
    }
    if (out.empty())
      fail("no class there has variant " + std::to_string(unsigned{variant_}) + " (" +
           matchText(found.front()) + ")");
    return out;
  }

  // The readings of the entry as wide as its words; a UsageError where none is.
  std::vector<Reading> fitting(const DumpEntry& e) {
    auto all = of(e);
    std::vector<Reading> out;
    for (auto& r : all)
      if (r.decoder->target.object->width() == e.words.size()) out.push_back(std::move(r));
    if (out.empty()) {
      const unsigned words = all.front().decoder->target.object->width();
      fail(plural(e.words.size(), "word", "words") + ", but what lies there is " +
           plural(words, "word", "words") + ": " + matchText(all.front().where));
    }
    return out;
  }

 private:
  struct Known {
    std::unique_ptr<Decoder> decoder;
    std::size_t shape;  // equal for variants of a class with the same layout
  };

  // Where every variant of the class on the chip has the same layout (most
  // classes, and the 32 variants of an expansion map), the first variant's.
  const Known* alike(const char* cls) {
    const auto known = alike_.find(cls);
    if (known != alike_.end()) return known->second;
    const Known* first = nullptr;
    for (U8 v : variantsOf(cls, chip_)) {
      const Known& k = this->known(cls, v);
      if (first && k.shape != first->shape) return alike_[cls] = nullptr;
      if (!first) first = &k;
    }
    return alike_[cls] = first;
  }

  const Known& known(const char* cls, U8 variant) {
    Known& k = known_[{cls, variant}];
    if (k.decoder) return k;
    const std::string v = std::to_string(unsigned{variant});
    k.decoder = std::make_unique<Decoder>(decoderOf(openTarget(cls, chip_, &v, "", nullptr)));
    Shape shape{cls, k.decoder->target.object->width(), {}};
    for (const auto& f : k.decoder->fields) shape.fields.emplace_back(f.id, f.offset, f.width);
    const auto same = std::find(shapes_.begin(), shapes_.end(), shape);
    k.shape = static_cast<std::size_t>(same - shapes_.begin());
    if (same == shapes_.end()) shapes_.push_back(std::move(shape));
    return k;
  }

  struct Shape {
    const char* cls;
    U16 words;
    std::vector<std::tuple<U32, U16, U16>> fields;  // id, offset, width
    bool operator==(const Shape& o) const {
      return cls == o.cls && words == o.words && fields == o.fields;
    }
  };

  Hardware::ChipType chip_;
  bool hasVariant_ = false;
  U8 variant_ = 0;
  std::map<std::pair<const char*, U8>, Known> known_;
  std::map<const char*, const Known*> alike_;
  std::vector<Shape> shapes_;
};

std::vector<U8> bytesOf(const std::vector<U32>& words) {
  std::vector<U8> out;
  for (U32 w : words)
    for (int b = 0; b < 4; ++b) out.push_back(static_cast<U8>(w >> (8 * b)));
  return out;
}

// "CrpsExpansionMapMem[2] variants 0-31 element 7 entry 64": an entry of a
// class, its variants named where the class has several on the chip.
std::string entryName(const Location& l, Hardware::ChipType chip) {
  std::string out = std::string(l.cls) + "[" + std::to_string(l.instance) + "]";
  if (variantsOf(l.cls, chip).size() > 1)
    out += (l.variants.size() == 1 ? " variant " : " variants ") + variantText(l.variants);
  out += " element " + std::to_string(l.arrayElement);
  if (isMemory(l.cls)) out += " entry " + std::to_string(l.tableEntry);
  return out;
}

// "block", "subBlock" (null where the line gives none) and "address".
Json placeJson(const DumpEntry& e) {
  Json j = objectWithRoom(6);  // and "line", "lines", "matches", "error"
  j["block"] = e.block;
  j["subBlock"] = e.anySubBlock ? Json() : Json(e.subBlock);
  j["address"] = e.address;
  return j;
}

// ---------------------------------------------------------------------------

int dumpList(const Args& a, Readings& readings) {
  const Hardware::ChipType chip = readings.chip();
  std::string only;
  if (const std::string* cls = a.get("--class")) {
    only = parseClass(*cls);
    if (variantsOf(only, chip).empty())
      fail(only + " does not exist on " + chipName(chip) + "; it exists on " + chipsOfClass(only));
  }
  const bool json = a.has("--json");
  const auto& index = AddressIndex::of(chip);
  if (!json)
    std::cout << "# " << (only.empty() ? "Every entry" : "The entries of " + only) << " on "
              << chipName(chip) << ", words zero, to be read.\n"
              << "# BLOCK.SUBBLOCK ADDRESS WORD...  # what lies there\n";
  for (U32 block : index.blocks()) {
    // By sub-block, then address.
    std::vector<std::tuple<U32, U32, std::string>> lines;
    for (const auto& segment : index.blockMap(block)) {
      std::vector<U32> subBlocks;
      for (const Placement* p : segment.placements)
        if (only.empty() || only == p->className()) subBlocks.push_back(p->subBlock);
      std::sort(subBlocks.begin(), subBlocks.end());
      subBlocks.erase(std::unique(subBlocks.begin(), subBlocks.end()), subBlocks.end());
      for (U64 address = segment.first; address <= segment.last; ++address) {
        for (U32 subBlock : subBlocks) {
          DumpEntry e{block, false, subBlock, static_cast<U32>(address), {}};
          std::string what;
          unsigned words = 0;
          for (const auto& r : readings.of(e)) {
            if (!only.empty() && only != r.where.cls) continue;
            what += (what.empty() ? "" : "; ") + entryName(r.where, chip);
            words = std::max(words, unsigned{r.decoder->target.object->width()});
          }
          e.words.assign(words, 0);
          lines.emplace_back(subBlock, e.address,
                             json ? jsonLine(dumpJson(e)) : dumpText(e) + "  # " + what + "\n");
        }
      }
    }
    std::sort(lines.begin(), lines.end());
    for (const auto& line : lines) std::cout << std::get<2>(line);
  }
  return 0;
}

// ---------------------------------------------------------------------------

// The JSON of decoded dump lines. A line with one reading is most lines of a
// dump: its JSON is made once for each decoder and its values set in place
// for each line, which makes the JSON of a chip's dump three times faster.
class LineJson {
 public:
  const Json& of(const DumpLine& line, const std::vector<Reading>& found,
                 const std::vector<U8>& bytes) {
    if (found.size() != 1) {
      fresh_ = make(line, found, bytes);
      return fresh_;
    }
    const Reading& r = found.front();
    const auto known = made_.find(r.decoder);
    if (known == made_.end())
      return made_.emplace(r.decoder, make(line, found, bytes)).first->second;
    // The keys of placeJson and locationJson, set one by one.
    Json& j = known->second;
    const DumpEntry& e = line.entry;
    j["line"] = line.line;
    j["block"] = e.block;
    j["subBlock"] = e.anySubBlock ? Json() : Json(e.subBlock);
    j["address"] = e.address;
    Json& m = j["matches"][0];
    if (m["variants"] != r.where.variants) m["variants"] = r.where.variants;
    m["instance"] = r.where.instance;
    m["subBlock"] = r.where.subBlock;
    m["arrayElement"] = r.where.arrayElement;
    m["tableEntry"] = r.where.tableEntry;
    setDecodedValues(m, *r.decoder, decodeEntry(*r.decoder, bytes));
    return j;
  }

 private:
  static Json make(const DumpLine& line, const std::vector<Reading>& found,
                   const std::vector<U8>& bytes) {
    Json j = {{"line", line.line}};
    j.update(placeJson(line.entry));
    Json& matches = j["matches"] = Json::array();
    for (const auto& r : found) {
      Json m = locationJson(r.where);
      addDecodedKeys(m, *r.decoder, decodeEntry(*r.decoder, bytes));
      matches.push_back(std::move(m));
    }
    return j;
  }

  std::map<const Decoder*, Json> made_;
  Json fresh_;
};

int dumpDecode(const Args& a, Readings& readings) {
  if (a.positional.size() != 2)
    fail("dump decode takes one FILE, the dump ('-' for standard input)");
  const bool json = a.has("--json");
  LineJson lines;
  std::size_t reported = 0, decoded = 0;
  for (const auto& line : readDump(readIn(a.positional[1]))) {
    const std::string at = "line " + std::to_string(line.line);
    std::string problem = line.problem;
    std::vector<Reading> found;
    if (problem.empty()) {
      try {
        found = readings.fitting(line.entry);
      } catch (const UsageError& e) {
        problem = e.message;
      }
    }
    if (!problem.empty()) {
      ++reported;
      if (json) {
        Json j = {{"line", line.line}};
        if (line.problem.empty()) j.update(placeJson(line.entry));
        j["error"] = problem;
        std::cout << jsonLine(j);
      } else {
        std::cout << at << (line.problem.empty() ? ", " + dumpPlace(line.entry) : "") << ": "
                  << problem << "\n";
      }
      continue;
    }
    ++decoded;
    const auto bytes = bytesOf(line.entry.words);
    if (json) {
      std::cout << jsonLine(lines.of(line, found, bytes));
      continue;
    }
    for (const auto& r : found) {
      const Decoded e = decodeEntry(*r.decoder, bytes);
      std::cout << at << ", " << dumpPlace(line.entry) << ": " << matchText(r.where) << "\n";
      const auto rows = fieldRows(*r.decoder, e);
      for (std::size_t i = 1; i < rows.size(); ++i) std::cout << "    " << rows[i] << "\n";
      for (const auto& after : afterRows(*r.decoder, e)) std::cout << "    " << after << "\n";
    }
  }
  if (!json)
    std::cout << chipName(readings.chip()) << ": " << plural(decoded, "entry", "entries")
              << " decoded, " << plural(reported, "line", "lines") << " reported\n";
  return reported ? 1 : 0;
}

// ---------------------------------------------------------------------------

// One of the two dumps of a diff.
struct Side {
  std::string name;  // as given
  std::vector<DumpLine> lines;
};

using Key = std::tuple<U32, bool, U32, U32>;  // block, any sub-block, sub-block, address
Key keyOf(const DumpEntry& e) {
  return {e.block, e.anySubBlock, e.anySubBlock ? 0 : e.subBlock, e.address};
}

std::string valueText(const std::vector<U8>& value, unsigned width) {
  return width <= 64 ? decimalValue(value) : hexValue(value, width);
}

// "+50", "-3": new less old, for a field of up to 64 bits.
std::string difference(const std::vector<U8>& from, const std::vector<U8>& to) {
  U64 a = 0, b = 0;
  for (std::size_t i = 0; i < from.size() && i < 8; ++i) a |= U64{from[i]} << (8 * i);
  for (std::size_t i = 0; i < to.size() && i < 8; ++i) b |= U64{to[i]} << (8 * i);
  return b >= a ? "+" + std::to_string(b - a) : "-" + std::to_string(a - b);
}

std::string strayText(const std::vector<std::pair<unsigned, unsigned>>& stray) {
  std::string out;
  for (const auto& [lo, hi] : stray) out += (out.empty() ? "" : ", ") + rangeText(lo, hi);
  return out.empty() ? "none" : out;
}

int dumpDiff(const Args& a, Readings& readings) {
  if (a.positional.size() != 3) fail("dump diff takes two FILEs, the dumps A and B to compare");
  const bool json = a.has("--json");
  Side sides[2];
  std::map<Key, const DumpLine*> keys[2];  // each entry's first line
  for (std::size_t s = 0; s < 2; ++s) {
    sides[s].name = a.positional[1 + s];
    sides[s].lines = readDump(readIn(sides[s].name));
  }
  // What can't be compared: a line that can't be read or decoded, an entry
  // given twice in one dump, an entry of another width in the other.
  std::size_t trouble = 0;
  const auto troubled = [&](const Side& side, const DumpLine& line, const std::string& why) {
    ++trouble;
    if (json)
      std::cout << jsonLine({{"file", side.name}, {"line", line.line}, {"error", why}});
    else
      std::cout << side.name << " line " << line.line << ": " << why << "\n";
  };
  // The entries of each dump that can be compared: read, once, and decoded.
  std::vector<std::pair<const DumpLine*, std::vector<Reading>>> usable[2];
  for (std::size_t s = 0; s < 2; ++s) {
    for (const auto& line : sides[s].lines) {
      if (!line.problem.empty()) {
        troubled(sides[s], line, line.problem);
        continue;
      }
      const auto [first, added] = keys[s].emplace(keyOf(line.entry), &line);
      if (!added) {
        troubled(sides[s], line,
                 dumpPlace(line.entry) + " again (first at line " +
                     std::to_string(first->second->line) + ")");
        continue;
      }
      try {
        usable[s].emplace_back(&line, readings.fitting(line.entry));
      } catch (const UsageError& e) {
        troubled(sides[s], line, dumpPlace(line.entry) + ": " + e.message);
        keys[s].erase(first);
      }
    }
  }
  std::size_t same = 0, changedEntries = 0, changedFields = 0, only[2] = {0, 0};
  for (const auto& [line, found] : usable[0]) {
    const auto other = keys[1].find(keyOf(line->entry));
    if (other == keys[1].end()) continue;
    const DumpLine& b = *other->second;
    if (b.entry.words == line->entry.words) {
      ++same;
      continue;
    }
    if (b.entry.words.size() != line->entry.words.size()) {
      troubled(sides[1], b,
               dumpPlace(b.entry) + ": " + plural(b.entry.words.size(), "word", "words") +
                   ", but " + plural(line->entry.words.size(), "word", "words") + " at line " +
                   std::to_string(line->line) + " of " + sides[0].name);
      continue;
    }
    ++changedEntries;
    const auto from = bytesOf(line->entry.words), to = bytesOf(b.entry.words);
    Json j;
    if (json) {
      j = placeJson(line->entry);
      Json& lines = j["lines"] = Json::array();
      lines.push_back(line->line);
      lines.push_back(b.line);
      j["matches"] = Json::array();
    }
    for (const auto& r : found) {
      const Decoded x = decodeEntry(*r.decoder, from), y = decodeEntry(*r.decoder, to);
      const std::string name = entryName(r.where, readings.chip());
      Json fields = Json::array();
      for (std::size_t i = 0; i < r.decoder->fields.size(); ++i) {
        if (x.values[i] == y.values[i]) continue;
        ++changedFields;
        const Field& f = r.decoder->fields[i];
        const std::string change =
            f.width <= 64 ? " (" + difference(x.values[i], y.values[i]) + ")" : "";
        if (!json) {
          std::cout << name << " " << f.name << ": " << valueText(x.values[i], f.width) << " -> "
                    << valueText(y.values[i], f.width) << change << "\n";
          continue;
        }
        // Key by key: an initializer list would copy every value once more.
        Json& row = fields.emplace_back(objectWithRoom(6));
        row["name"] = f.name;
        row["hardwareName"] = f.hardwareName;
        row["bits"] = rangeText(f.offset, f.offset + f.width - 1u);
        row["from"] = hexValue(x.values[i], f.width);
        row["to"] = hexValue(y.values[i], f.width);
        if (f.width <= 64) row["difference"] = difference(x.values[i], y.values[i]);
      }
      const bool strayChanged = x.stray != y.stray;
      if (!json) {
        if (strayChanged)
          std::cout << name << " set bits outside every field: " << strayText(x.stray) << " -> "
                    << strayText(y.stray) << "\n";
        continue;
      }
      Json m = locationJson(r.where);
      m["fields"] = std::move(fields);
      if (strayChanged) {
        Json& strays = m["strayBits"] = objectWithRoom(2);
        strays["from"] = strayBitsJson(x.stray);
        strays["to"] = strayBitsJson(y.stray);
      }
      j["matches"].push_back(std::move(m));
    }
    if (json) std::cout << jsonLine(j);
  }
  for (std::size_t s = 0; s < 2; ++s) {
    for (const auto& [line, found] : usable[s]) {
      if (keys[1 - s].count(keyOf(line->entry))) continue;
      ++only[s];
      if (json) {
        Json j = {{"onlyIn", sides[s].name}, {"line", line->line}};
        j.update(placeJson(line->entry));
        std::cout << jsonLine(j);
      } else {
        std::cout << "only in " << sides[s].name << ", line " << line->line << ": "
                  << dumpPlace(line->entry) << " "
                  << entryName(found.front().where, readings.chip())
                  << (found.size() > 1 ? " and more" : "") << "\n";
      }
    }
  }
  const bool differ = changedEntries || only[0] || only[1];
  if (json) {
    std::cout << jsonLine({{"summary",
                            {{"differ", differ},
                             {"sameEntries", same},
                             {"changedEntries", changedEntries},
                             {"changedFields", changedFields},
                             {"onlyInA", only[0]},
                             {"onlyInB", only[1]},
                             {"troubled", trouble}}}});
  } else {
    std::cout << sides[0].name << " -> " << sides[1].name << " on " << chipName(readings.chip())
              << ": "
              << (differ ? plural(changedFields, "field differs", "fields differ") + " in " +
                               plural(changedEntries, "entry", "entries") + ", " +
                               plural(only[0], "entry", "entries") + " only in " + sides[0].name +
                               ", " + std::to_string(only[1]) + " only in " + sides[1].name + "; " +
                               plural(same, "entry", "entries") + " the same"
                         : "the same, " + plural(same, "entry", "entries"))
              << "\n";
  }
  if (trouble)
    fail(plural(trouble, "line", "lines") + " of " + sides[0].name + " and " + sides[1].name +
         " could not be compared (listed above)");
  return differ ? 1 : 0;
}

}  // namespace

int cmdDump(const Args& a) {
  static const char* const kUse =
      "dump takes list, decode FILE or diff A B: 'dump list --chip CHIP [--class CLASS]', 'dump "
      "decode FILE --chip CHIP [--variant V]', 'dump diff A B --chip CHIP'";
  if (a.positional.empty()) fail(kUse);
  const std::string& what = a.positional[0];
  if (what != "list" && what != "decode" && what != "diff")
    fail("unknown dump command " + quoted(what) + "; " + kUse);
  if (a.has("--class") && what != "list") fail("--class goes with dump list");
  if (a.has("--variant") && what != "decode") fail("--variant goes with dump decode");
  const std::string* chip = a.get("--chip");
  if (!chip) fail("--chip is required; known chips: " + chipList());
  Readings readings(parseChip(*chip), a.get("--variant"));
  if (what == "list") {
    if (a.positional.size() > 1)
      fail("unexpected argument " + quoted(a.positional[1]) + "; dump list takes options only");
    return dumpList(a, readings);
  }
  return what == "decode" ? dumpDecode(a, readings) : dumpDiff(a, readings);
}

}  // namespace Tool
