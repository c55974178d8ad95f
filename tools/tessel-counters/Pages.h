// The HTML pages' skeletons: the page that `map --html` writes, and the head
// and tail of every page of the reference site.
#pragma once

#include <string>
#include <vector>

#include "Fields.h"

namespace Tool {

// A page of the layout picture `svg` under its title and subtitle, and a
// table of the fields.
std::string mapPage(const std::string& title, const std::string& subtitle, const std::string& svg,
                    const std::vector<Field>& fields);

// A site page up to its main content, with the search box; and its end.
// `chips`, where given, fill a chip selector beside the search box for the
// addresses it looks up (the index page; a class page has its own).
std::string sitePageHead(const std::string& title, const std::vector<std::string>& chips = {});
std::string sitePageTail();

}  // namespace Tool
