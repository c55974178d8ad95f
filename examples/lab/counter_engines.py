"""Two counter engines on a simulated BCM88860_A0: configure them through a
register handle, save the register space as a dump, change one field, save
again and let the dump diff say what changed.

    PYTHONPATH=build/python python3 examples/lab/counter_engines.py [DIR]

DIR (default: a temporary folder) receives before.dump and after.dump. On a
real chip, a backend of your own with the same read() and write() takes the
place of MemoryBackend.
"""

import os
import sys
import tempfile

import tessel_counters as tc


def main(folder):
    chip = tc.Chip("BCM88860_A0", tc.MemoryBackend())
    # Engines 0 and 1: array elements of the engine configuration, instance 0.
    engines = [chip.register("CrpsEngineCfg", element=e) for e in (0, 1)]
    for engine, mode in zip(engines, (1, 3)):
        engine.modify(engineNMode=mode, engineNOvfValue=0x100)  # one read-modify-write
    before, after = (os.path.join(folder, name) for name in ("before.dump", "after.dump"))
    chip.backend.save_dump(before)

    engines[1].engineNOvfValue = 0x180  # one field, one read-modify-write
    chip.backend.save_dump(after)

    print(f"engine 1 at block {engines[1].block}, address {engines[1].address:#x}:")
    print(f"  {engines[1].read()!r}")
    for row in tc.dump_diff(before, after, chip.name):
        if "summary" in row:
            print(f"summary: {row['summary']['changedFields']} field(s) changed in "
                  f"{row['summary']['changedEntries']} entry")
            continue
        for match in row["matches"]:
            for field in match["fields"]:
                print(f"  {match['class']}[{match['instance']}] element {match['arrayElement']} "
                      f"{field['name']}: {field['from']} -> {field['to']} ({field['difference']})")
    print(f"{len(chip.backend.log)} accesses, the last: {chip.backend.log[-1][0]}")


if __name__ == "__main__":
    if len(sys.argv) > 1:
        main(sys.argv[1])
    else:
        with tempfile.TemporaryDirectory() as scratch:
            main(scratch)
