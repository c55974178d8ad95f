// The subcommands. Each returns the exit status; bad input throws UsageError.
#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "Args.h"
#include "Catalog.h"
#include "ModelJson.h"

namespace Tool {

int cmdChips(const Args& a);
int cmdClasses(const Args& a);
int cmdDescribe(const Args& a);
int cmdDecode(const Args& a);
int cmdEncode(const Args& a);
int cmdAddress(const Args& a);
int cmdMap(const Args& a);
int cmdSearch(const Args& a);
int cmdDiff(const Args& a);
int cmdExport(const Args& a);
int cmdSite(const Args& a);
int cmdLocate(const Args& a);

int cmdDump(const Args& a);

// What describe --json prints: geometry, instances and fields of the target.
void describeJson(const Target& t, std::ostream& out);

// What decode --json prints for the entry in `bytes`, of the entry's size.
Json decodeJson(const Target& t, const std::vector<U8>& bytes);

// What address --all lists: the first and last address (over the table
// entries of a memory), sub-block and block of every instance and array element.
struct AddressRow {
  U32 instance, element, first, last, subBlock, block;
};
std::vector<AddressRow> addressRows(const Orrery::AsicBase& object);

// A class on a chip and variant ready to decode entries: its fields as
// decode lists them, how they lie over each other, and the mask of their bits.
struct Decoder {
  Target target;
  std::vector<Field> fields;
  std::vector<FieldView> views;
  std::vector<U8> mask;  // the entry's bytes, a bit set where a field lies
};
Decoder decoderOf(const Target& target);

// An entry's field values (in the order of the decoder's fields) and its set
// bits that lie in no field.
struct Decoded {
  std::vector<std::vector<U8>> values;
  std::vector<std::pair<unsigned, unsigned>> stray;
};
// The entry in `bytes`, of the entry's size, through the target's accessor.
Decoded decodeEntry(Decoder& decoder, const std::vector<U8>& bytes);

// decode --json's "fields" (name, hardwareName, id, offset, width, bits, hex,
// decimal, viewOf, overlaps) and "strayBits" (first, last).
void addDecodedKeys(Json& j, const Decoder& decoder, const Decoded& entry);
// The values of another entry in keys that addDecodedKeys made, in place:
// the JSON of many entries of one class is made once.
void setDecodedValues(Json& j, const Decoder& decoder, const Decoded& entry);
// "strayBits": ranges of bits, each "first" and "last".
Json strayBitsJson(const std::vector<std::pair<unsigned, unsigned>>& stray);
// decode's table: a heading, then a row per field, views indented under the
// field they lie in, overlaps named; and the lines after it.
std::vector<std::string> fieldRows(const Decoder& decoder, const Decoded& entry);
std::vector<std::string> afterRows(const Decoder& decoder, const Decoded& entry);

}  // namespace Tool
