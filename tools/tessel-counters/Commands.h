// The subcommands. Each returns the exit status; bad input throws UsageError.
#pragma once

#include <ostream>
#include <vector>

#include "Args.h"
#include "Catalog.h"

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

// What describe --json prints: geometry, instances and fields of the target.
void describeJson(const Target& t, std::ostream& out);

// How fields lie over each other: for each field (in the order of
// fieldsOf), the narrowest other field that holds all of its bits (-1 if
// none), its depth in that nesting, and the fields it crosses only in part.
struct FieldView {
  int parent = -1;
  int depth = 0;
  std::vector<int> crosses;
};
std::vector<FieldView> viewsOf(const std::vector<Field>& fields);

}  // namespace Tool
