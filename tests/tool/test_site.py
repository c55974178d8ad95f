#!/usr/bin/env python3
"""The reference site: the same bytes twice, nothing fetched, used in headless Chromium (DevTools
protocol on a pipe) as a person would: names and addresses searched, entries decoded.
Run: test_site.py TOOL; status 77 (skip) without Chromium."""

import filecmp, json, os, random, re, select, shutil, subprocess, sys, tempfile, unittest

TOOL = sys.argv.pop(1)
CHROMIUM = shutil.which("chromium") or shutil.which("chromium-browser")
FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync"]
# (class, chip, variant): views and overlaps, fields over 64 bits, a memory, stray bits, variants.
SAMPLES = [("IppaStatisticsInfo", "BCM88860_A0", 0), ("IppfStatObjProfileAttr", "BCM88690_B0", 0),
           ("EtppbMapStsToType", "BCM88690_B0", 0), ("CrpsEngineCfg", "BCM88690_B0", 0),
           ("CrpsIfAdapterCgmIrppCfg", "BCM88690_B0", 5), ("PqpEgressQueuesEmpty", "BCM88850_A0", 0),
           ("CrpsTypeMapMem", "BCM88870_A0", 0), ("EtppaPerPortTable", "BCM88800_A0", 0)]


def tool(*args):
    p = subprocess.run([TOOL, *args], capture_output=True, text=True, timeout=60)
    return p.returncode, p.stdout, p.stderr


def tool_json(*args):
    return json.loads(tool(*args, "--json")[1])


def write_site(cleanup):
    cleanup(shutil.rmtree, d := tempfile.mkdtemp())
    assert (r := tool("site", d))[0] == 0, r[2]
    return d


class Files(unittest.TestCase):
    def test_same_input_same_bytes_and_no_address_outside(self):
        a, b = write_site(self.addCleanup), write_site(self.addCleanup)
        names = sorted(os.listdir(a))
        self.assertEqual((names, [], []), filecmp.cmpfiles(a, b, names, shallow=False))
        for n in names:
            with open(os.path.join(a, n)) as f:
                text = f.read().replace('xmlns="http://www.w3.org/2000/svg"', "")
            self.assertEqual([], re.findall(r"\w+://|//[\w.-]+\.\w", text), n)


class Browser:
    """Chromium over --remote-debugging-pipe: commands on its fd 3, answers and events on fd 4."""

    def __init__(self):
        to_r, self.to_w = os.pipe()
        self.from_r, from_w = os.pipe()
        fds = lambda: [os.dup2(fd, n) for fd, n in zip([os.dup(to_r), os.dup(from_w)], (3, 4))]  # noqa: E731
        self.profile = tempfile.mkdtemp()
        self.proc = subprocess.Popen([CHROMIUM, *FLAGS, "--user-data-dir=" + self.profile,
                                      "--remote-debugging-pipe", "about:blank"], preexec_fn=fds,
                                     close_fds=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_r), os.close(from_w)
        self.buf, self.next, self.events, self.session = b"", 0, [], None
        page = next(t for t in self.send("Target.getTargets")["targetInfos"] if t["type"] == "page")
        self.session = self.send("Target.attachToTarget", targetId=page["targetId"], flatten=True)["sessionId"]
        self.send("Page.enable"), self.send("Network.enable")

    def read(self):
        while b"\0" not in self.buf:
            assert select.select([self.from_r], [], [], 20)[0], "Chromium did not answer in 20 s"
            self.buf += os.read(self.from_r, 1 << 20)
        message, self.buf = self.buf.split(b"\0", 1)
        return json.loads(message)

    def send(self, method, **params):
        self.next += 1
        os.write(self.to_w, json.dumps({"id": self.next, "method": method, "params": params,
                                        **({"sessionId": self.session} if self.session else {})}).encode() + b"\0")
        while (m := self.read()).get("id") != self.next:
            self.events.append(m)
        assert "error" not in m, m
        return m["result"]

    def js(self, expression):
        r = self.send("Runtime.evaluate", expression=expression, returnByValue=True)
        assert "exceptionDetails" not in r, r["exceptionDetails"]
        return r["result"].get("value")

    def each(self, selector, expression="e.textContent"):
        return self.js(f"[...document.querySelectorAll({json.dumps(selector)})].map(e => {expression})")

    def until(self, expression, value):
        assert any(self.js(expression) == value for _ in range(100)), f"{expression} never became {value}"

    def go(self, url=None, click=None):
        start = len(self.events)
        self.send("Page.navigate", url=url) if url else self.js(f"document.querySelector({json.dumps(click)}).click()")
        while not any(e.get("method") == "Page.loadEventFired" for e in self.events[start:]):
            self.events.append(self.read())

    def type_into(self, selector, text):
        self.js(f"document.querySelector({json.dumps(selector)}).focus()")
        self.send("Input.insertText", text=text)

    def close(self):
        self.proc.kill(), self.proc.wait()
        shutil.rmtree(self.profile, ignore_errors=True)


@unittest.skipUnless(CHROMIUM, "chromium is not installed")
class InChromium(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.site, cls.b = "file://" + write_site(cls.addClassCleanup) + "/", Browser()
        cls.addClassCleanup(cls.b.close)

    def test_a_person_finds_a_field_switches_chips_and_decodes(self):
        b, field = self.b, "engineNScanCorEnable"
        b.go(self.site + "index.html")
        self.assertEqual({c["name"] for c in tool_json("export")["classes"]}, set(b.each("table.index a")))
        for pattern in ["ENGINE_*_MODE", "?rps*", "trap", field]:
            b.js("document.getElementById('search').value = ''")
            b.type_into("#search", pattern)
            hits = tool_json("search", pattern)
            self.assertEqual({c["class"] + ".html" for c in hits["classes"]} |
                             {f"{f['class']}.html#field={f['name']}" for f in hits["fields"]},
                             set(b.each("#results li > a", "e.getAttribute('href')")), pattern)
        b.go(click=f"#results a[href='CrpsEngineCfg.html#field={field}']")
        self.assertEqual("field-" + field, b.js("document.querySelector('tr.hit').id"))
        layouts = tool_json("search", field)["fields"][0]["layouts"]
        places = {(o["chip"], l["offset"]) for l in layouts for o in l["on"]}
        dump = bytes(random.Random(7).randrange(256) for _ in range(32)).hex(" ")
        for chip in ["BCM88860_A0", "BCM88690_B0"]:  # where it sits on each, and the instances' addresses
            b.js(f"{{ const s = document.getElementById('chip'); s.value = '{chip}'; "
                 "s.dispatchEvent(new Event('change')) }")
            b.until("TC.layout().chip", chip)
            self.assertIn((chip, int(b.each(f"#field-{field} td:nth-child(5)")[0])), places)
            described = tool_json("describe", "CrpsEngineCfg", "--chip", chip)["instances"]
            self.assertEqual([f"{s['firstAddress']} ({hex(s['firstAddress'])})" for s in described],
                             b.each("#instances td:nth-child(4)"))
        b.type_into("#hex", dump)
        decoded = tool_json("decode", "CrpsEngineCfg", "--chip", "BCM88690_B0", dump)["fields"]
        table = "[...e.cells].slice(2, 5).map(c => c.textContent)"
        self.assertEqual([[f["name"], f["hex"], f["decimal"]] for f in decoded], b.each("#decoded tr:not(:first-child)", table))
        b.js("document.getElementById('hex').value = ''")  # the same entry as words, over lines, with the switch
        b.js("document.getElementById('words').click()")
        words = bytes.fromhex(dump)
        b.type_into("#hex", "".join(f"0x{int.from_bytes(words[i:i + 4], 'little'):x}  # {i}\n" for i in range(0, 32, 4)))
        self.assertEqual([[f["name"], f["hex"], f["decimal"]] for f in decoded], b.each("#decoded tr:not(:first-child)", table))
        b.js("document.getElementById('words').click()")
        b.js("document.getElementById('hex').value = ''")
        b.type_into("#hex", dump)
        others = b.each(f"#field-{field} td:nth-child(7) a")  # the field on the other chips, by link
        self.assertEqual({c for c, _ in places} - {"BCM88690_B0"}, set(others))
        b.js(f"document.querySelector('#field-{field} td:nth-child(7) a').click()")
        b.until("TC.layout().chip", others[0])
        b.type_into("#hex", " zz")  # a bad dump is told, and kept
        self.assertEqual([dump + " zz"], b.each("#hex", "e.value"))
        self.assertIn("'z' is not a hex digit", b.each("#decode-note")[0])
        urls = [e["params"]["request"]["url"] for e in b.events if e.get("method") == "Network.requestWillBeSent"]
        self.assertTrue(urls and all(u.startswith("file://") for u in urls), urls)

    def test_a_wrong_chip_or_variant_is_told_and_other_chips_are_grouped(self):
        b, cls = self.b, "CrpsEngineCfg"
        exported = next(c for c in tool_json("export")["classes"] if c["name"] == cls)
        first = exported["chips"][0]["chip"]
        b.go(self.site + "index.html")
        b.go(self.site + cls + ".html#chip=NOPE")
        for hash_, words in [("#chip=NOPE", ["has no chip 'NOPE'", f"showing {first}"]),
                             (f"#chip={first}&variant=7", [f"has no variant '7' on {first}", "variants there: 0"])]:
            b.js(f"location.hash = {json.dumps(hash_)}")
            b.until("location.hash + TC.layout().chip", hash_ + first)
            [notice] = b.each("#notice:not([hidden])")
            self.assertEqual(1, len(notice.splitlines()))
            for w in words:
                self.assertIn(w, notice)
        b.js(f"location.hash = '#chip={first}&variant=0'")
        b.until("document.getElementById('notice').hidden", True)
        # Each field's other chips: a line a group of chips where it lies alike, with their count,
        # as search tells where the field lies.
        for f in tool_json("search", "engineNMode")["fields"]:
            if f["class"] != cls or f["name"] != "engineNMode":
                continue
            groups = {}
            for l in f["layouts"]:
                chips = {o["chip"] for o in l["on"]} - {first}
                bits = str(l["offset"]) if l["width"] == 1 else f"{l['offset']}..{l['offset'] + l['width'] - 1}"
                if chips:
                    groups[f"bits {bits}: {len(chips)} chip{'s' if len(chips) != 1 else ''}"] = chips
            cell = f"#field-{f['name']} td:nth-child(7)"
            self.assertEqual(sorted(groups), sorted(b.each(cell + " summary")))
            self.assertEqual(set().union(*groups.values()), set(b.each(cell + " a")))
            self.assertEqual([None] * len(groups), b.each(cell + " details", "e.getAttribute('open')"))

    def test_decode_gives_the_tools_values_and_messages(self):
        keys = ("name", "bits", "hex", "decimal", "viewOf", "overlaps")
        for cls, chip, variant in SAMPLES:
            self.b.go(f"{self.site}{cls}.html#chip={chip}&variant={variant}")
            size = 4 * self.b.js("TC.shape().widthWords")
            name, also = self.b.js("[TC.shape().fields[0].name, TC.shape().fields[0].alsoIn]")
            hits = tool_json("search", name)["fields"]
            self.assertEqual(sorted(h["class"] for h in hits if h["name"] == name), sorted([cls, *also]))
            data = bytes(random.Random(cls).randrange(256) for _ in range(size))
            words = [f"0x{int.from_bytes(data[i:i + 4], 'little'):x}" for i in range(0, size, 4)]
            inputs = [("bytes", t) for t in ["ff" * size, data.hex(":"), "0x" + "01" * (size - 1), "0xfg", "123",
                                              "00" * (size + 1), data.hex(" ", 3).replace(" ", "\r\n# c\n"),
                                              "01\u00a0", "01 \x7f", "#", "0x" + "z" * 200]]
            inputs += [("words", t) for t in ["\t".join(words), "\n".join(w + " # \u00e9" for w in words), "0x1f",
                                              "0x1 0x123456789", " ".join(words * 2), "1 2 0xg"]]
            for form, text in inputs:
                with self.subTest(cls=cls, form=form, text=text):
                    got = self.b.js(f"try {{ TC.decode(TC.shape(), {json.dumps(text)}, '{cls} on {chip} variant "
                                    f"{variant}', '{form}', 'give --words') }} catch (e) {{ e.message }}")
                    rc, out, err = tool("decode", cls, "--chip", chip, "--variant", str(variant), text, "--json",
                                        *(["--words"] if form == "words" else []))
                    if rc:
                        self.assertEqual(err.strip(), "tessel-counters: " + got)
                        continue
                    want = json.loads(out)
                    self.assertEqual([{k: f.get(k) for k in keys} for f in want["fields"]],
                                     [{k: f.get(k) for k in keys} for f in got["fields"]])
                    self.assertEqual(want["strayBits"], got["strayBits"])
                    self.assertEqual(err.splitlines(), ["note: " + n for n in got["notes"]])

    def test_an_address_lists_what_lies_there_as_locate_does(self):
        b, classes = self.b, tool_json("export")["classes"]
        memories = {c["name"] for c in classes if c["kind"] == "memory"}
        b.send("Runtime.enable")
        start = len(b.events)

        def located(chip, block, address):
            return tool_json("locate", "--chip", chip, "--block", str(block), str(address))["matches"]

        def ask(text, chip=None, selector="search-chip"):  # typed and answered, then the chip chosen: the list
            b.js("document.getElementById('search').value = ''")
            b.type_into("#search", text)
            b.until("document.getElementById('results').textContent.startsWith('reading')", False)
            if not chip:
                return b.each("#results > *", "[e.className, e.textContent]")
            b.js(f"{{ const s = document.getElementById('{selector}'); s.value = '{chip}'; "
                 "s.dispatchEvent(new Event('change')) }")
            b.until(f"document.getElementById('results').textContent.includes(' on {chip}')", True)
            out = []
            for href, line in b.each("#results li", "[e.firstChild.getAttribute('href'), e.textContent]"):
                g = re.fullmatch(r"(\w+) variants? ([\d, -]+?), instance (\d+), sub-block (\d+), "
                                 r"element (\d+)(?:, entry (\d+))?", line)
                variants = [v for part in g[2].split(", ") for v in range(int(part.split("-")[0]),
                                                                            int(part.split("-")[-1]) + 1)]
                self.assertEqual((f"{g[1]}.html#chip={chip}&variant={variants[0]}", g[1] in memories),
                                 (href, g[6] is not None), line)
                out.append({"class": g[1], "variants": variants, "instance": int(g[3]), "subBlock": int(g[4]),
                            "arrayElement": int(g[5]), "tableEntry": int(g[6] or 0)})
            return out

        b.go(self.site + "index.html")
        self.assertEqual(None, b.js("document.querySelector('script[src=\"addresses.js\"]')"))  # read when asked
        # On the index, the chip beside the box: variants sharing an address, a register, hex, one address in
        # many sub-blocks, nothing there, no such block.
        for chip, text, block, address in [
                ("BCM88860_A0", "617:40000", 617, 40000), ("BCM88690_B0", "1:384", 1, 384),
                ("BCM88860_A0", "0x269 : 0x132", 617, 0x132), ("BCM88690_B0", "1:270", 1, 270),
                ("BCM88690_B0", "3:1373", 3, 1373), ("BCM88860_A0", "617:128", 617, 128),
                ("BCM88860_A0", "999999:1", 999999, 1)]:
            self.assertEqual(located(chip, block, address), ask(text, chip), text)
        # A result leads to its class at that chip and variant, where the page's chip is the one asked.
        self.assertTrue(ask("617:40000", "BCM88860_A0"))
        b.go(click="#results a")
        self.assertEqual(["CrpsExpansionMapMem", "BCM88860_A0", 0],
                         b.js("[document.title, TC.layout().chip, TC.layout().variant]"))
        self.assertEqual(located("BCM88870_A0", 617, 40000), ask("0x269:40000", "BCM88870_A0", "chip"))
        # Bad input: one line that names the fault, and nothing thrown.
        for text, fault in [("617:", "no ADDRESS"), ("x:1", "BLOCK must be a number from 0 to 4294967295, not 'x'"),
                            ("-1:5", "not '-1'"), ("617:4294967296", "ADDRESS must be a number from 0 to 4294967295"),
                            ("617:0x", "not '0x'"), ("1:2:3", "is not BLOCK:ADDRESS")]:
            [(kind, message)] = ask(text)
            self.assertTrue(kind == "error" and fault in message and "\n" not in message, message)
        self.assertEqual([], [e for e in b.events[start:] if e.get("method") == "Runtime.exceptionThrown"])
        # Many addresses of two chips, by the page's lookup: ends and middles of ranges, the gaps beside.
        queries = []
        for chip, blocks in [("BCM88860_A0", [617]), ("BCM88690_B0", [3])]:
            placed = sorted({i["block"] for c in classes for l in c["layouts"] if l["chip"] == chip
                             for i in l["instances"]})
            blocks += random.Random(chip).sample(placed, 2)
            queries += [(chip, max(placed) + 1, 0), (chip, blocks[0], 0xFFFFFFFF)]
            for block in blocks:
                ranges = tool_json("locate", "--chip", chip, "--block", str(block))["ranges"]
                for r in random.Random(block).sample(ranges, min(8, len(ranges))):
                    ends = {r["first"] - 1, r["first"], (r["first"] + r["last"]) // 2, r["last"], r["last"] + 1}
                    queries += [(chip, block, a) for a in sorted(ends) if 0 <= a <= 0xFFFFFFFF]
        got = b.js(f"{json.dumps(queries)}.map(([chip, block, address]) => TC.locate(chip, block, address))")
        self.assertEqual([located(*q) for q in queries], got)
        self.assertTrue(any(len(m["variants"]) > 1 for g in got for m in g) and any(not g for g in got))

if __name__ == "__main__":
    ok = unittest.main(exit=False).result.wasSuccessful()
    if ok and not CHROMIUM:
        print("SKIP: the site was not tried in a browser: no chromium (scripts/bootstrap.sh installs it)")
    sys.exit(0 if ok and CHROMIUM else 77 if ok else 1)
