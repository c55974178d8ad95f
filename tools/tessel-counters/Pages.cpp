#include "Pages.h"

#include <sstream>

#include "Svg.h"

namespace Tool {

std::string mapPage(const std::string& title, const std::string& subtitle, const std::string& svg,
                    const std::vector<Field>& fields) {
  std::ostringstream h;
  h << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>"
    << escapeHtml(title)
    << "</title>\n<style>\n"
       "body { font-family: 'DejaVu Sans', Helvetica, Arial, sans-serif; margin: 24px; color: "
       "#222; }\n"
       "h1 { font-size: 20px; margin: 0 0 4px; } p.sub { color: #555; margin: 0 0 16px; }\n"
       "table { border-collapse: collapse; margin-top: 20px; font-size: 13px; }\n"
       "th, td { border: 1px solid #ccc; padding: 3px 10px; text-align: left; }\n"
       "td.n { text-align: right; font-variant-numeric: tabular-nums; } th { background: #f3f3f3; "
       "}\n"
       "code { font-family: 'DejaVu Sans Mono', monospace; }\n"
       "</style>\n</head>\n<body>\n<h1>"
    << escapeHtml(title) << "</h1>\n<p class=\"sub\">" << escapeHtml(subtitle) << "</p>\n"
    << svg
    << "<table>\n<tr><th>#</th><th>field</th><th>hardware "
       "name</th><th>id</th><th>bits</th><th>width</th></tr>\n";
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const auto& f = fields[i];
    h << "<tr><td class=\"n\">" << i + 1 << "</td><td><code>" << escapeHtml(f.name)
      << "</code></td><td><code>" << escapeHtml(f.hardwareName) << "</code></td><td class=\"n\">"
      << f.id << "</td><td class=\"n\">" << rangeText(f.offset, f.offset + f.width - 1u)
      << "</td><td class=\"n\">" << f.width << "</td></tr>\n";
  }
  h << "</table>\n</body>\n</html>\n";
  return h.str();
}

std::string sitePageHead(const std::string& title, const std::vector<std::string>& chips) {
  std::string h =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" +
      escapeHtml(title) +
      "</title>\n<link rel=\"stylesheet\" href=\"site.css\">\n</head>\n<body>\n"
      "<header><a href=\"index.html\">Counter register reference</a>\n"
      "<input id=\"search\" type=\"search\" autocomplete=\"off\" "
      "placeholder=\"Search: engine, ENGINE_*_MODE, or BLOCK:ADDRESS like 617:0x9c40\" "
      "title=\"A part of a class or field name, or a glob with * and ?; or an S-channel "
      "BLOCK:ADDRESS, decimal or 0x hex, to list what lies there on the chip chosen\">\n";
  if (!chips.empty()) {
    h += "<label class=\"search-chip\">chip <select id=\"search-chip\">";
    for (const auto& chip : chips) h += "<option>" + escapeHtml(chip) + "</option>";
    h += "</select></label>\n";
  }
  return h + "<div id=\"results\"></div></header>\n<main>\n";
}

std::string sitePageTail() {
  return "</main>\n<script src=\"search.js\"></script>\n<script src=\"site.js\"></script>\n"
         "</body>\n</html>\n";
}

}  // namespace Tool
