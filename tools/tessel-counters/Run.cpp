#include "Run.h"

#include <algorithm>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "Args.h"
#include "Catalogue.h"
#include "Commands.h"
#include "Files.h"

namespace Tool {

namespace {

// One row per command: its name, its usage lines, what it does, its options
// with their help, and what runs it. `--help`, of the tool or of a command,
// and the parser read this one table.
struct Command {
  const char* name;
  const char* usage;  // after "tessel-counters ", one line or several
  const char* about;  // what it does, lines of at most 72 characters
  std::vector<OptionSpec> options;
  int (*run)(const Args&);
};

const std::vector<Command>& commands() {
  const OptionSpec chip{"--chip", true, "--chip CHIP      the chip, by name (BCM88690_B0) or number (10, 0x0a)"};
  const OptionSpec variant{"--variant", true,
                           "--variant V      the class's variant (default: its first on the chip)"};
  const OptionSpec json{"--json", false, "--json           the answer as JSON"};
  const OptionSpec words{"--words", false,
                         "--words          HEX is 32-bit words, word 0 (bits 0..31) first"};
  static const std::vector<Command> table = {
      {"chips", "chips", "the chip models the library knows", {}, cmdChips},
      {"classes", "classes [--chip CHIP]",
       "the registers and memories, with their kind and chips, or those that\n"
       "exist on a chip, with their variants",
       {chip},
       cmdClasses},
      {"describe", "describe CLASS --chip CHIP [--variant V] [--json]",
       "what the class holds, its chips and variants, geometry, S-channel\n"
       "addresses and field table on a chip",
       {chip, variant, json},
       cmdDescribe},
      {"decode", "decode CLASS --chip CHIP [--variant V] [--words] [--json] HEX",
       "every field of the entry in HEX: bits, width, hex and decimal value;\n"
       "fields that are views of other fields' bits are indented under them,\n"
       "and set bits that belong to no field are listed",
       {chip, variant, json, words},
       cmdDecode},
      {"encode", "encode CLASS --chip CHIP [--variant V] [--words] [--from HEX] FIELD=VALUE...",
       "the entry's bytes (as HEX; words with --words) after writing the\n"
       "fields, starting from --from or from zeros",
       {chip, variant, {"--from", true, "--from HEX       the entry to start from"}, words},
       cmdEncode},
      {"address",
       "address CLASS --chip CHIP [--variant V] [--instance I] [--entry T] [--array A]\n"
       "address CLASS --chip CHIP [--variant V] --all",
       "S-channel address, subBlock and block of one instance, table entry and\n"
       "array element (each 0 if not given), or a table of all of them",
       {chip,
        variant,
        {"--instance", true, "--instance I     the block instance (identifier)"},
        {"--entry", true, "--entry T        the table entry of a memory"},
        {"--array", true, "--array A        the array element"},
        {"--all", false, "--all            every instance and array element"}},
       cmdAddress},
      {"map", "map CLASS --chip CHIP [--variant V] [--svg FILE] [--html FILE]",
       "a picture of the layout, one row per 32-bit word; FILE '-' is stdout",
       {chip,
        variant,
        {"--svg", true, "--svg FILE       the picture as SVG"},
        {"--html", true, "--html FILE      the picture and the field table as a page"}},
       cmdMap},
      {"search", "search PATTERN [--chip CHIP] [--json]",
       "classes and fields whose name or hardware name holds PATTERN, any case,\n"
       "or matches it whole as a glob with * and ?; each field with its bits on\n"
       "every chip and variant",
       {chip, json},
       cmdSearch},
      {"diff",
       "diff CLASS --chip A [--variant V] --to B [--to-variant W] [--json]\n"
       "diff --chip A --to B [--json]",
       "what changes from A to B: geometry, and fields added, removed, moved or\n"
       "resized; without CLASS, every class of the two chips that differs, with\n"
       "its moved and resized fields. Exit status 0 either way",
       {chip,
        variant,
        {"--to", true, "--to CHIP        the chip to compare with"},
        {"--to-variant", true, "--to-variant W   the variant on that chip"},
        json},
       cmdDiff},
      {"export", "export --json [--chip CHIP]\nexport --c-header --chip CHIP [--class CLASS]",
       "the catalogue as JSON, in the format of catalogue.schema.json, or a C\n"
       "header of a chip's classes: offset, width and mask of every field, and\n"
       "the address constants of each class",
       {json,
        {"--c-header", false, "--c-header       a C header of one chip"},
        chip,
        {"--class", true, "--class CLASS    the header of one class"}},
       cmdExport},
      {"site", "site DIR",
       "a reference site of the whole catalogue in DIR (made if missing), to\n"
       "open from DIR/index.html: the classes by subsystem, a page per class\n"
       "with geometry, addresses, bit map, fields and a decoder on each chip and\n"
       "variant, and a search over classes, fields and addresses on every page",
       {},
       cmdSite},
      {"locate", "locate --chip CHIP --block BLOCK [--sub-block SB] [ADDRESS] [--json]",
       "what lies at an S-channel address: class, variants, instance, sub-block,\n"
       "array element and table entry; exit 1 if nothing does, with what lies\n"
       "nearest below and above. Without ADDRESS, the block's whole map: every\n"
       "range of addresses in order with what lies there, and the gaps",
       {chip,
        {"--block", true, "--block BLOCK    the S-channel block number"},
        {"--sub-block", true, "--sub-block SB   the sub-block (default: every one)"},
        json},
       cmdLocate},
      {"dump",
       "dump list --chip CHIP [--class CLASS] [--json]\n"
       "dump decode FILE --chip CHIP [--variant V] [--json]\n"
       "dump diff A B --chip CHIP [--json]",
       "list: every entry of the catalogue on the chip as a dump with zero\n"
       "words, the list of what a script that dumps the chip reads; decode:\n"
       "every entry of a dump found by its address and decoded as decode does,\n"
       "exit 1 if a line could not be, each such line reported; diff: every\n"
       "field whose value differs between two dumps, and the entries in one\n"
       "only, exit 0 when the same, 1 when they differ, 2 on trouble",
       {chip, variant, {"--class", true, "--class CLASS    the entries of one class"}, json},
       cmdDump},
  };
  return table;
}

const char* const kNotes =
    "CHIP is a chip name (BCM88690_B0) or its number (10 or 0x0a). Without\n"
    "--variant the class's first variant on the chip is used, with a note if it\n"
    "has several. Every number is decimal, or hex after 0x.\n"
    "\n"
    "HEX is the entry's bytes in buffer order, byte 0 (bits 0..7) first, as a hex\n"
    "dump shows them: '0x01020304', '01020304', '01 02 03 04' and '01:02:03:04' are\n"
    "all bytes 01, 02, 03, 04, whose 32-bit word reads 0x04030201. A leading 0x\n"
    "does not make HEX a number (a note says so). With --words, HEX is 32-bit\n"
    "words, word 0 (bits 0..31) first, each as a register read prints it: '0x1f'\n"
    "or '0000001f'. Either may span lines, with '#' comments; @FILE reads HEX\n"
    "from a file, - from standard input. Shorter input is completed with zeros.\n"
    "\n"
    "A dump has one entry per line: BLOCK[.SUBBLOCK] ADDRESS WORD..., numbers\n"
    "decimal or 0x hex, words as with --words, or the same as JSON Lines:\n"
    "{\"block\": 617, \"subBlock\": 0, \"address\": 540, \"words\": [255]}.\n"
    "\n"
    "FIELD is an accessor name (engineNMode) or a hardware name (ENGINE_N_MODE).\n"
    "VALUE is a number, at any width: decimal, or hex after 0x.\n"
    "\n"
    "Bad input ends with one line on stderr and exit status 2.\n";

// The lines of `text`, each after `indent`.
std::string indented(const std::string& text, const std::string& indent) {
  std::string out;
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = text.find('\n', start);
    out += indent + text.substr(start, end - start) + "\n";
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return out;
}

std::string toolUsage() {
  std::string out = "usage:\n";
  for (const auto& c : commands())
    out += indented(c.usage, "  tessel-counters ") + indented(c.about, "      ");
  return out + "  tessel-counters COMMAND --help\n      one command's usage and options\n"
               "  tessel-counters --version\n      the library's version\n\n" +
         kNotes;
}

std::string commandUsage(const Command& c) {
  std::string out = indented(c.usage, "usage: tessel-counters ") + "\n" + c.about + "\n";
  if (!c.options.empty()) {
    out += "\noptions:\n";
    for (const auto& o : c.options) out += "  " + o.help + "\n";
  }
  return out + "  --help           this text\n";
}

std::string commandList() {
  std::string list;
  for (const auto& c : commands()) list += (list.empty() ? "" : ", ") + std::string(c.name);
  return list;
}

const Command& commandNamed(const std::string& name) {
  const auto c = std::find_if(commands().begin(), commands().end(),
                              [&](const Command& k) { return name == k.name; });
  if (c == commands().end())
    fail("unknown command " + quoted(name) + "; commands: " + commandList());
  return *c;
}

}  // namespace

int runCaptured(const std::vector<std::string>& args, std::string& out) {
  if (args.empty()) fail("no command given; commands: " + commandList());
  std::vector<std::string> copies = args;
  std::vector<char*> argv = {nullptr};
  for (auto& a : copies) argv.push_back(a.data());
  const Command& c = commandNamed(args[0]);
  const Args parsed = parseArgs(static_cast<int>(argv.size()), argv.data(), 2, c.options);
  // One capture at a time: std::cout is the process's.
  static std::mutex capturing;
  const std::lock_guard<std::mutex> lock(capturing);
  std::ostringstream text;
  struct Restore {
    std::streambuf* buffer;
    ~Restore() { std::cout.rdbuf(buffer); }
  } restore{std::cout.rdbuf(text.rdbuf())};
  const int status = c.run(parsed);
  out = text.str();
  return status;
}

int run(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "tessel-counters: no command given; commands: " << commandList()
              << " (tessel-counters --help tells their usage)\n";
    return kUsageError;
  }
  const std::string command = argv[1];
  if (command == "--help" || command == "-h" || command == "help") {
    std::cout << toolUsage();
    return finishOutput(0);
  }
  if (command == "--version") {
    std::cout << "tessel-counters " << Hardware::catalogueDescription().version << "\n";
    return finishOutput(0);
  }
  int status = kUsageError;
  try {
    const Command& c = commandNamed(command);
    const Args args = parseArgs(argc, argv, 2, c.options);
    if (args.has("--help")) {
      std::cout << commandUsage(c);
      status = 0;
    } else {
      status = c.run(args);
    }
  } catch (const UsageError& e) {
    std::cerr << "tessel-counters: " << e.message << "\n";
  }
  // Nothing of the output may go missing unsaid.
  return finishOutput(status);
}

}  // namespace Tool
