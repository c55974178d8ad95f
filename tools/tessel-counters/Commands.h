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
int cmdLocate(const Args& a);

// What describe --json prints: geometry, instances and fields of the target.
void describeJson(const Target& t, std::ostream& out);

}  // namespace Tool
