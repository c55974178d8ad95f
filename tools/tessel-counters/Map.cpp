// map: the layout of a class on a chip and variant as a picture, alone (SVG)
// or in a page with its field table (HTML).
#include <sstream>

#include "Catalog.h"
#include "Commands.h"
#include "Files.h"
#include "Pages.h"
#include "Svg.h"

namespace Tool {

namespace {

struct Picture {
  std::string svg;          // headed by the title and subtitle
  std::string untitledSvg;  // the picture alone
  std::string title;
  std::string subtitle;
};

Picture draw(const Target& t) {
  const auto& o = *t.object;
  const auto fields = fieldsOf(t);
  const unsigned words = o.width();
  Picture p;
  p.title = t.cls + " \u2014 " + chipName(t.chip) + " (" +
            std::to_string(static_cast<unsigned>(t.chip)) + "), variant " +
            std::to_string(static_cast<unsigned>(t.variant));
  {
    std::ostringstream s;
    U32 address = 0, subBlock = 0, block = 0;
    o.getSchanAddress(address, subBlock, block, 0, 0, 0);
    s << (o.isTable() ? "memory" : "register") << ", " << words
      << (words == 1 ? " word" : " words");
    if (o.isTable()) s << " per entry, " << o.entries() << " entries";
    s << ", " << o.arrayElements() << " array element" << (o.arrayElements() == 1 ? "" : "s")
      << ", " << o.instanceCount() << " instance" << (o.instanceCount() == 1 ? "" : "s") << ", "
      << fields.size() << " field" << (fields.size() == 1 ? "" : "s") << "; address " << address
      << " (0x" << std::hex << address << std::dec << ") of instance 0, block " << block
      << ", subBlock " << subBlock;
    p.subtitle = s.str();
  }
  p.svg = layoutSvg(fields, words, p.title, p.subtitle);
  // The page heads the picture with the title and subtitle itself.
  p.untitledSvg = layoutSvg(fields, words, "", "");
  return p;
}

}  // namespace

int cmdMap(const Args& a) {
  if (a.positional.size() > 1)
    fail("unexpected argument " + quoted(a.positional[1]) + "; map takes one class name");
  const std::string* svgPath = a.get("--svg");
  const std::string* htmlPath = a.get("--html");
  if (!svgPath && !htmlPath)
    fail("map needs --svg FILE or --html FILE (or both; FILE '-' is stdout)");
  if (svgPath && htmlPath && *svgPath == "-" && *htmlPath == "-")
    fail("--svg and --html can't both go to stdout; give one of them a file");
  if (svgPath && htmlPath && *svgPath != "-" && *htmlPath != "-" && samePath(*svgPath, *htmlPath))
    fail("--svg " + quoted(*svgPath) + " and --html " + quoted(*htmlPath) +
         " are the same file; give each its own");
  const Target t = resolveTarget(a);
  const Picture p = draw(t);
  // Both files or neither; then standard output, so that a reader that goes
  // away early leaves the files whole.
  std::string out;
  FileSet files;
  const auto put = [&](const std::string& path, const std::string& text) {
    if (path == "-")
      out = text;
    else
      files.add(path, text);
  };
  if (svgPath) put(*svgPath, p.svg);
  if (htmlPath) put(*htmlPath, mapPage(p.title, p.subtitle, p.untitledSvg, fieldsOf(t)));
  files.commit();
  writeOut("-", out);
  return 0;
}

}  // namespace Tool
