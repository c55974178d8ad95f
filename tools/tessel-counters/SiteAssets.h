// The site's stylesheet and script (site/ in the source tree), compiled into
// the tool by site/embed.cmake so that an installed tool writes a whole site.
#pragma once

#include <string>
#include <vector>

namespace Tool {

struct SiteAsset {
  std::string name;  // "site.css"
  std::string text;
};

// Every file of site/ but the build script, by name.
const std::vector<SiteAsset>& siteAssets();

}  // namespace Tool
