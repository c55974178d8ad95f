#include "Run.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "Args.h"
#include "Commands.h"
#include "Files.h"

namespace Tool {

namespace {

const char* const kUsage =
    "usage:\n"
    "  tessel-counters chips\n"
    "      the chip models the library knows\n"
    "  tessel-counters classes --chip CHIP\n"
    "      the registers and memories that exist on a chip, with their variants\n"
    "  tessel-counters describe CLASS --chip CHIP [--variant V] [--json]\n"
    "      geometry, S-channel addresses and field table of a class on a chip\n"
    "  tessel-counters decode CLASS --chip CHIP [--variant V] [--words] [--json] HEX\n"
    "      every field of the entry in HEX: bits, width, hex and decimal value;\n"
    "      fields that are views of other fields' bits are indented under them,\n"
    "      and set bits that belong to no field are listed\n"
    "  tessel-counters encode CLASS --chip CHIP [--variant V] [--words] [--from HEX]\n"
    "                         FIELD=VALUE...\n"
    "      the entry's bytes (as HEX; words with --words) after writing the fields,\n"
    "      starting from --from or from zeros\n"
    "  tessel-counters address CLASS --chip CHIP [--variant V] [--instance I]\n"
    "                          [--entry T] [--array A]\n"
    "  tessel-counters address CLASS --chip CHIP [--variant V] --all\n"
    "      S-channel address, subBlock and block of one instance, table entry and\n"
    "      array element (each 0 if not given), or a table of all of them\n"
    "  tessel-counters map CLASS --chip CHIP [--variant V] [--svg FILE] [--html FILE]\n"
    "      a picture of the layout, one row per 32-bit word; FILE '-' is stdout\n"
    "  tessel-counters search PATTERN [--chip CHIP] [--json]\n"
    "      classes and fields whose name or hardware name holds PATTERN, any case,\n"
    "      or matches it whole as a glob with * and ?; each field with its bits on\n"
    "      every chip and variant\n"
    "  tessel-counters diff CLASS --chip A [--variant V] --to B [--to-variant W] [--json]\n"
    "  tessel-counters diff --chip A --to B [--json]\n"
    "      what changes from A to B: geometry, and fields added, removed, moved or\n"
    "      resized; without CLASS, every class of the two chips that differs, with\n"
    "      its moved and resized fields. Exit status 0 either way\n"
    "  tessel-counters export --json [--chip CHIP]\n"
    "      the catalogue as JSON, in the format of catalogue.schema.json\n"
    "  tessel-counters export --c-header --chip CHIP [--class CLASS]\n"
    "      a C header of the chip's classes: offset, width and mask of every field,\n"
    "      and the address constants of each class\n"
    "  tessel-counters site DIR\n"
    "      a reference site of the whole catalogue in DIR (made if missing), to\n"
    "      open from DIR/index.html: the classes by subsystem, a page per class\n"
    "      with geometry, addresses, bit map, fields and a decoder on each chip and\n"
    "      variant, and a search over classes and fields on every page\n"
    "  tessel-counters locate --chip CHIP --block BLOCK [--sub-block SB] [ADDRESS] [--json]\n"
    "      what lies at an S-channel address: class, variants, instance, sub-block,\n"
    "      array element and table entry; exit 1 if nothing does, with what lies\n"
    "      nearest below and above. Without ADDRESS, the block's whole map: every\n"
    "      range of addresses in order with what lies there, and the gaps\n"
    "  tessel-counters dump list --chip CHIP [--class CLASS] [--json]\n"
    "      every entry of the catalogue on the chip as a dump with zero words: the\n"
    "      list of what a script that dumps the chip reads\n"
    "  tessel-counters dump decode FILE --chip CHIP [--variant V] [--json]\n"
    "      every entry of a dump found by its address and decoded as decode does;\n"
    "      exit 1 if a line could not be, each such line reported\n"
    "  tessel-counters dump diff A B --chip CHIP [--json]\n"
    "      every field whose value differs between two dumps, and the entries in\n"
    "      one only; exit 0 when the same, 1 when they differ, 2 on trouble\n"
    "\n"
    "CHIP is a chip name (BCM88690_B0) or its number (10). Without --variant the\n"
    "class's first variant on the chip is used, with a note if it has several.\n"
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

// One row per command: its name, its options and what runs it.
struct Command {
  const char* name;
  std::vector<OptionSpec> options;
  int (*run)(const Args&);
};

const std::vector<Command>& commands() {
  const OptionSpec chip{"--chip", true}, variant{"--variant", true}, json{"--json", false},
      words{"--words", false};
  static const std::vector<Command> table = {
      {"chips", {}, cmdChips},
      {"classes", {chip}, cmdClasses},
      {"describe", {chip, variant, json}, cmdDescribe},
      {"decode", {chip, variant, json, words}, cmdDecode},
      {"encode", {chip, variant, {"--from", true}, words}, cmdEncode},
      {"address",
       {chip,
        variant,
        {"--instance", true},
        {"--entry", true},
        {"--array", true},
        {"--all", false}},
       cmdAddress},
      {"map", {chip, variant, {"--svg", true}, {"--html", true}}, cmdMap},
      {"search", {chip, json}, cmdSearch},
      {"diff", {chip, variant, {"--to", true}, {"--to-variant", true}, json}, cmdDiff},
      {"export", {json, {"--c-header", false}, chip, {"--class", true}}, cmdExport},
      {"site", {}, cmdSite},
      {"locate", {chip, {"--block", true}, {"--sub-block", true}, json}, cmdLocate},
      {"dump", {chip, variant, {"--class", true}, json}, cmdDump},
  };
  return table;
}

std::string commandList() {
  std::string list;
  for (const auto& c : commands()) list += (list.empty() ? "" : ", ") + std::string(c.name);
  return list;
}

}  // namespace

int run(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "tessel-counters: no command given; commands: " << commandList()
              << " (tessel-counters --help tells their usage)\n";
    return kUsageError;
  }
  const std::string command = argv[1];
  if (command == "--help" || command == "-h" || command == "help") {
    std::cout << kUsage;
    return finishOutput(0);
  }
  int status = kUsageError;
  try {
    const auto c = std::find_if(commands().begin(), commands().end(),
                                [&](const Command& k) { return command == k.name; });
    if (c == commands().end())
      fail("unknown command " + quoted(command) + "; commands: " + commandList());
    status = c->run(parseArgs(argc, argv, 2, c->options));
  } catch (const UsageError& e) {
    std::cerr << "tessel-counters: " << e.message << "\n";
  }
  // Nothing of the output may go missing unsaid.
  return finishOutput(status);
}

}  // namespace Tool
