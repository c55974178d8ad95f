#!/usr/bin/env python3
"""The command-line tool: its output on a few classes and every error path.

Run: test_tool.py PATH_TO_TESSEL_COUNTERS
"""

import os
import subprocess
import sys
import unittest

TOOL = sys.argv.pop(1)


def run(*args, env=None):
    full_env = dict(os.environ)
    full_env.pop("WISP_TRACE", None)
    if env:
        full_env.update(env)
    p = subprocess.run([TOOL, *args], capture_output=True, text=True, env=full_env, timeout=60)
    return p.returncode, p.stdout, p.stderr


class Output(unittest.TestCase):
    def test_chips_lists_the_thirteen_models(self):
        rc, out, _ = run("chips")
        self.assertEqual(0, rc)
        lines = out.splitlines()
        self.assertEqual(13, len(lines))
        self.assertEqual("10  BCM88690_B0", lines[0])
        self.assertEqual("26  BCM88870_A0", lines[-1])

    def test_classes_of_a_chip(self):
        rc, out, _ = run("classes", "--chip", "BCM88850_A0")
        self.assertEqual(0, rc)
        self.assertRegex(out, r"CrpsReservedSpare2 +register variants 0\n")
        self.assertRegex(out, r"CrpsTypeMapMem +memory +variants 0\n")
        rc, out, _ = run("classes", "--chip", "10")
        self.assertNotIn("CrpsReservedSpare2", out)

    def test_describe_register(self):
        rc, out, _ = run("describe", "CrpsModulesrcCfg", "--chip", "BCM88690_B0")
        self.assertEqual(0, rc)
        self.assertIn("CrpsModulesrcCfg on BCM88690_B0 (10) variant 0\n", out)
        self.assertIn("  width           3 words (12 bytes); buffer of the class 16 bytes\n", out)
        self.assertIn("  arrayElements   22\n", out)
        self.assertIn("  instance 0      subBlock 2, block 1, address 314 to 356\n", out)
        self.assertIn("  instance 1      subBlock 16, block 8, address 314 to 356\n", out)
        rows = [l.split() for l in out.splitlines() if l.startswith(" " * 18)]
        self.assertEqual(["modulesrcNMmuxSourceSelect", "409", "0", "5"], rows[0])
        self.assertEqual(["modulesrcNPhyAddressExceedMask", "410", "61", "5"], rows[-1])
        self.assertEqual(6, len(rows))

    def test_describe_memory(self):
        rc, out, _ = run("describe", "CrpsTypeMapMem", "--chip", "11", "--variant", "0")
        self.assertEqual(0, rc)
        self.assertIn("  entries         4\n", out)
        self.assertIn("  instance 0      subBlock 10, block 5, address 81920 to 82055\n", out)

    def test_trace_from_the_environment(self):
        rc, out, err = run("describe", "CrpsEngineInitRequest", "--chip", "BCM88480_B0",
                           env={"WISP_TRACE": "OrreryTesselCountersMetaInfo:8"})
        self.assertEqual(0, rc)
        self.assertIn("CrpsEngineInitRequest chipType: BCM88480_B0 variant: 0\n", err)
        rc, out, err = run("describe", "CrpsEngineInitRequest", "--chip", "BCM88480_B0")
        self.assertEqual("", err)


class Errors(unittest.TestCase):
    def check(self, args, *parts):
        rc, out, err = run(*args)
        self.assertEqual(2, rc, err)
        self.assertEqual("", out)
        self.assertEqual(1, len(err.splitlines()), err)
        self.assertNotIn("Assertion", err)
        for p in parts:
            self.assertIn(p, err)

    def test_every_bad_input_is_one_line_and_status_two(self):
        self.check([], "no command given", "--help")
        self.check(["frobnicate"], "unknown command 'frobnicate'", "describe")
        self.check(["classes"], "--chip is required", "BCM88690_B0")
        self.check(["classes", "--chip", "BCM99999"], "unknown chip 'BCM99999'", "BCM88870_A0")
        self.check(["classes", "--chip", "13"], "unknown chip '13'")
        self.check(["classes", "--chip"], "--chip needs a value")
        self.check(["classes", "--chip", "10", "--chip", "11"], "given twice")
        self.check(["chips", "extra"], "chips takes no arguments")
        self.check(["describe", "--chip", "10"], "describe takes one class name")
        self.check(["describe", "crpsTypeMapMem", "--chip", "10"], "unknown class 'crpsTypeMapMem'",
                   "did you mean CrpsTypeMapMem?")
        self.check(["describe", "CrpsReservedSpare2", "--chip", "BCM88690_B0"],
                   "CrpsReservedSpare2 does not exist on BCM88690_B0", "BCM88850_A0, BCM88859_A2")
        self.check(["describe", "CrpsTypeMapMem", "--chip", "10", "--variant", "1"],
                   "has no variant 1 on BCM88690_B0", "valid variants: 0")
        self.check(["describe", "CrpsTypeMapMem", "--chip", "10", "--variant", "256"], "0 to 255")
        self.check(["describe", "CrpsTypeMapMem", "--chip", "10", "--variant", "-1"], "0 to 255")
        self.check(["describe", "CrpsTypeMapMem", "--chip", "10", "--colour", "red"],
                   "unknown option --colour", "--chip, --variant")


if __name__ == "__main__":
    unittest.main()
