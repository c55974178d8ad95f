// The layout picture: one row per 32-bit word, bit 31 on the left, each
// field a labelled box over its bits. Fields that share bits (an aggregate
// and its elements) go into separate bands of the row, the widest on top.
#include "Svg.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>

namespace Tool {

namespace {

constexpr int kBitW = 30;    // width of one bit
constexpr int kBandH = 40;   // height of one band of a row
constexpr int kRowGap = 16;  // space between two words
constexpr int kLeft = 128;   // room for the row labels
constexpr int kRight = 24;
constexpr int kTop = 112;       // title, subtitle and bit numbers above the first row
constexpr int kHead = 48;       // of which the title and subtitle
constexpr int kBandNote = 18;   // a line more above the rows when there are bands
constexpr double kCharW = 0.6;  // advance of a monospace character, per pixel of font size

struct Colour {
  const char* fill;
  const char* stroke;
};
const Colour kPalette[] = {
    {"#cfe3f7", "#3b6ea5"}, {"#fde2c4", "#b5651d"}, {"#d5efd2", "#3d8a3d"}, {"#f6d0d8", "#a83a55"},
    {"#e4dcf3", "#6a4fa0"}, {"#fdf3c0", "#a68a0e"}, {"#cdeeed", "#2a8683"}, {"#ecdccd", "#86603a"},
    {"#e6f0c4", "#6b7f1a"}, {"#dfe3e8", "#4d5a6a"},
};

}  // namespace

std::string escapeHtml(const std::string& s) {
  std::string out;
  for (char c : s) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

namespace {

int textWidth(const std::string& s, int size) {
  return static_cast<int>(std::lround(static_cast<double>(s.size()) * kCharW * size));
}

// Greedy bands: each field goes to the first band where it shares no bit with
// a field already there. Fields come wider first, so aggregates sit on top.
std::vector<int> bandsOf(const std::vector<Field>& fields, int& bandCount) {
  std::vector<int> band(fields.size(), 0);
  std::vector<std::vector<std::size_t>> members;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const unsigned lo = fields[i].offset, hi = lo + fields[i].width;
    std::size_t b = 0;
    for (; b < members.size(); ++b) {
      const bool clash = std::any_of(members[b].begin(), members[b].end(), [&](std::size_t j) {
        return fields[j].offset < hi && lo < fields[j].offset + fields[j].width;
      });
      if (!clash) break;
    }
    if (b == members.size()) members.emplace_back();
    members[b].push_back(i);
    band[i] = static_cast<int>(b);
  }
  bandCount = std::max<int>(1, static_cast<int>(members.size()));
  return band;
}

}  // namespace

std::string layoutSvg(const std::vector<Field>& fields, unsigned words, const std::string& title,
                      const std::string& subtitle) {
  int bands = 1;
  const auto band = bandsOf(fields, bands);
  const unsigned bits = 32 * words;
  const int rowH = bands * kBandH;
  const int noHead = title.empty() ? kHead : 0;  // room of the title lines, left out
  const int top = kTop - noHead + (bands > 1 ? kBandNote : 0);

  // Legend: one column per 30 fields.
  const int legendRows = std::min<int>(30, std::max<int>(1, static_cast<int>(fields.size())));
  const int legendCols =
      fields.empty() ? 1 : (static_cast<int>(fields.size()) + legendRows - 1) / legendRows;
  std::size_t longest = 0;
  for (const auto& f : fields) longest = std::max(longest, f.name.size() + 28);
  const int legendColW = std::max(300, textWidth(std::string(longest, 'x'), 11) + 40);
  const int diagramW = kLeft + 32 * kBitW + kRight;
  const int width = std::max(diagramW, 24 + legendCols * legendColW);
  const int rowsBottom = top + static_cast<int>(words) * (rowH + kRowGap);
  const int legendTop = rowsBottom + 34;
  const int height = legendTop + 22 + legendRows * 18 + 24;

  std::ostringstream s;
  s << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
    << "\" viewBox=\"0 0 " << width << " " << height
    << "\" font-family=\"DejaVu Sans Mono, Menlo, Consolas, monospace\">\n";
  s << "<defs><pattern id=\"unused\" width=\"6\" height=\"6\" patternUnits=\"userSpaceOnUse\" "
       "patternTransform=\"rotate(45)\"><rect width=\"6\" height=\"6\" fill=\"#f1f1f1\"/>"
       "<line x1=\"0\" y1=\"0\" x2=\"0\" y2=\"6\" stroke=\"#cfcfcf\" "
       "stroke-width=\"2\"/></pattern></defs>\n";
  s << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
  if (!title.empty()) {
    s << "<text x=\"24\" y=\"36\" font-size=\"20\" font-weight=\"bold\" fill=\"#222\">"
      << escapeHtml(title) << "</text>\n";
    s << "<text x=\"24\" y=\"60\" font-size=\"12\" fill=\"#555\">" << escapeHtml(subtitle)
      << "</text>\n";
  }
  if (bands > 1)
    s << "<text x=\"24\" y=\"" << 78 - noHead
      << "\" font-size=\"12\" fill=\"#555\">Fields that share bits are drawn "
         "in "
      << bands << " bands: the widest view on top, the views inside it below.</text>\n";

  // Bit numbers within a word, and byte lanes, above the first row.
  for (int b = 0; b < 32; ++b) {
    const int x = kLeft + (31 - b) * kBitW;
    s << "<text x=\"" << x + kBitW / 2 << "\" y=\"" << top - 8
      << "\" font-size=\"10\" fill=\"#777\" "
      << "text-anchor=\"middle\">" << b << "</text>\n";
  }
  for (int byte = 0; byte < 4; ++byte) {
    const int x = kLeft + (3 - byte) * 8 * kBitW;
    s << "<text x=\"" << x + 4 * kBitW << "\" y=\"" << top - 24
      << "\" font-size=\"10\" fill=\"#999\" "
      << "text-anchor=\"middle\">byte +" << byte << "</text>\n";
  }

  // Rows: the unused bits hatched, then the field segments, then the grid.
  std::vector<bool> covered(bits, false);
  for (const auto& f : fields)
    for (unsigned k = f.offset; k < f.offset + f.width && k < bits; ++k) covered[k] = true;
  for (unsigned w = 0; w < words; ++w) {
    const int y = top + static_cast<int>(w) * (rowH + kRowGap);
    s << "<text x=\"" << kLeft - 12 << "\" y=\"" << y + rowH / 2 - 2
      << "\" font-size=\"13\" font-weight=\"bold\" "
      << "fill=\"#333\" text-anchor=\"end\">word " << w << "</text>\n";
    s << "<text x=\"" << kLeft - 12 << "\" y=\"" << y + rowH / 2 + 13
      << "\" font-size=\"10\" fill=\"#777\" "
      << "text-anchor=\"end\">bits " << 32 * w + 31 << ".." << 32 * w << "</text>\n";
    for (unsigned b = 0; b < 32; ++b) {
      if (covered[32 * w + b]) continue;
      const int x = kLeft + (31 - static_cast<int>(b)) * kBitW;
      s << "<rect x=\"" << x << "\" y=\"" << y << "\" width=\"" << kBitW << "\" height=\"" << rowH
        << "\" fill=\"url(#unused)\"/>\n";
    }
    // Grid under the fields: a thin line per bit, a strong one per byte.
    for (int b = 1; b < 32; ++b) {
      const int x = kLeft + b * kBitW;
      const bool byteEdge = b % 8 == 0;
      s << "<line x1=\"" << x << "\" y1=\"" << y << "\" x2=\"" << x << "\" y2=\"" << y + rowH
        << "\" stroke=\"" << (byteEdge ? "#888" : "#ddd") << "\" stroke-width=\""
        << (byteEdge ? 1.5 : 0.6) << "\"" << (byteEdge ? "" : " stroke-dasharray=\"2,3\"")
        << "/>\n";
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const auto& f = fields[i];
      const unsigned lo = std::max<unsigned>(f.offset, 32 * w);
      const unsigned hi = std::min<unsigned>(f.offset + f.width, 32 * w + 32);  // exclusive
      if (lo >= hi) continue;
      const Colour& c = kPalette[i % (sizeof kPalette / sizeof kPalette[0])];
      const int x = kLeft + (31 - static_cast<int>(hi - 1 - 32 * w)) * kBitW;
      const int wpx = static_cast<int>(hi - lo) * kBitW;
      const int by = y + band[i] * kBandH;
      s << "<g><title>" << escapeHtml(f.name) << " (" << escapeHtml(f.hardwareName) << ", id "
        << f.id << "): bits " << rangeText(f.offset, f.offset + f.width - 1u) << ", " << f.width
        << " bit" << (f.width == 1 ? "" : "s") << "</title>\n";
      s << "<rect x=\"" << x + 1 << "\" y=\"" << by + 2 << "\" width=\"" << wpx - 2
        << "\" height=\"" << kBandH - 4 << "\" rx=\"4\" fill=\"" << c.fill << "\" stroke=\""
        << c.stroke << "\" stroke-width=\"1.2\"/>\n";
      const std::string range = rangeText(f.offset, f.offset + f.width - 1u);
      const std::string key = "#" + std::to_string(i + 1);
      std::string label;
      std::string second;
      if (textWidth(f.name, 12) <= wpx - 8) {
        label = f.name;
        if (textWidth(range, 10) <= wpx - 8) second = range;
      } else if (textWidth(key, 11) <= wpx - 4) {
        label = key;
      }
      const int cx = x + wpx / 2;
      if (!label.empty()) {
        const int ty = second.empty() ? by + kBandH / 2 + 4 : by + kBandH / 2 - 2;
        s << "<text x=\"" << cx << "\" y=\"" << ty << "\" font-size=\"" << (label == key ? 11 : 12)
          << "\" text-anchor=\"middle\" fill=\"#111\">" << escapeHtml(label) << "</text>\n";
      }
      if (!second.empty())
        s << "<text x=\"" << cx << "\" y=\"" << by + kBandH / 2 + 12 << "\" font-size=\"10\" "
          << "text-anchor=\"middle\" fill=\"#555\">" << escapeHtml(second) << "</text>\n";
      s << "</g>\n";
    }
    // Byte edges stay visible over the fields as ticks; a frame per word.
    for (int b = 8; b < 32; b += 8) {
      const int x = kLeft + b * kBitW;
      s << "<line x1=\"" << x << "\" y1=\"" << y - 5 << "\" x2=\"" << x << "\" y2=\"" << y + 4
        << "\" stroke=\"#444\" stroke-width=\"1.5\"/>\n<line x1=\"" << x << "\" y1=\""
        << y + rowH - 4 << "\" x2=\"" << x << "\" y2=\"" << y + rowH + 5
        << "\" stroke=\"#444\" stroke-width=\"1.5\"/>\n";
    }
    s << "<rect x=\"" << kLeft << "\" y=\"" << y << "\" width=\"" << 32 * kBitW << "\" height=\""
      << rowH << "\" fill=\"none\" stroke=\"#444\" stroke-width=\"1.5\"/>\n";
  }

  // Legend: key, colour, name, bits and width of every field.
  s << "<text x=\"24\" y=\"" << legendTop
    << "\" font-size=\"13\" font-weight=\"bold\" fill=\"#333\">Fields"
    << "</text>\n";
  s << "<rect x=\"" << 24 + 3 * legendColW / 4 << "\" y=\"" << legendTop - 11
    << "\" width=\"14\" height=\"12\" "
    << "fill=\"url(#unused)\" stroke=\"#bbb\"/>\n";
  s << "<text x=\"" << 24 + 3 * legendColW / 4 + 20 << "\" y=\"" << legendTop
    << "\" font-size=\"11\" "
    << "fill=\"#555\">no field</text>\n";
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const auto& f = fields[i];
    const Colour& c = kPalette[i % (sizeof kPalette / sizeof kPalette[0])];
    const int col = static_cast<int>(i) / legendRows, row = static_cast<int>(i) % legendRows;
    const int x = 24 + col * legendColW, y = legendTop + 22 + row * 18;
    s << "<rect x=\"" << x << "\" y=\"" << y - 11
      << "\" width=\"14\" height=\"12\" rx=\"2\" fill=\"" << c.fill << "\" stroke=\"" << c.stroke
      << "\"/>\n";
    char line[64];
    std::snprintf(line, sizeof line, "%-5s", ("#" + std::to_string(i + 1)).c_str());
    s << "<text x=\"" << x + 20 << "\" y=\"" << y
      << "\" font-size=\"11\" fill=\"#222\" xml:space=\"preserve\">" << escapeHtml(line)
      << escapeHtml(f.name) << "  <tspan fill=\"#666\">bits "
      << rangeText(f.offset, f.offset + f.width - 1u) << " (" << f.width << ")</tspan></text>\n";
  }
  s << "</svg>\n";
  return s.str();
}

}  // namespace Tool
