// What changes for a driver between two layouts of a class: geometry and
// fields, fields matched by identifier.
#pragma once

#include <string>
#include <vector>

#include "Model.h"
#include "ModelJson.h"

namespace Tool {

struct GeometryChange {
  std::string property;  // "widthWords", "address", "block", ...
  int instance;          // the instance of "subBlock" and "block"; -1 otherwise
  U64 from;
  U64 to;
};

struct FieldChange {
  enum Kind { Added, Removed, Moved, Resized };  // Moved: the offset changed (the width may too)
  Kind kind;
  Field from;  // empty when added
  Field to;    // empty when removed
};

struct LayoutDiff {
  std::vector<GeometryChange> geometry;
  std::vector<FieldChange> fields;
  unsigned unchangedFields = 0;

  bool empty() const { return geometry.empty() && fields.empty(); }
  unsigned count(FieldChange::Kind kind) const;
};

LayoutDiff diffLayouts(const Layout& from, const Layout& to);

// One line per change, as the text output shows them.
std::vector<std::string> changeLines(const LayoutDiff& diff);

// Adds the keys "geometry", "fields" and "unchangedFields" of a diff.
void addDiffKeys(Json& j, const LayoutDiff& diff);

}  // namespace Tool
