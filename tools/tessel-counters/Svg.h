// The layout picture that `map` draws and the site shows.
#pragma once

#include <string>
#include <vector>

#include "Fields.h"

namespace Tool {

// The layout of `fields` (as fieldsOf orders them) over `words` 32-bit words
// as an SVG document: one row per word, bit 31 on the left, each field a
// labelled box over its bits, fields that share bits in separate bands, unused
// bits hatched, and a legend. The title and subtitle head it unless empty.
std::string layoutSvg(const std::vector<Field>& fields, unsigned words, const std::string& title,
                      const std::string& subtitle);

// The text with &, <, > and " written as HTML (and XML) entities.
std::string escapeHtml(const std::string& s);

}  // namespace Tool
