// The reference site's pages at work: the search box of every page (names, or
// BLOCK:ADDRESS on the chip chosen), and on a class page the chip and variant
// choice, the tables and bit map of that layout, and the decoder. Plain DOM;
// nothing is fetched but the site's own addresses.js, by a script element.
"use strict";

const TC = (() => {
  const $ = (id) => document.getElementById(id);

  function el(tag, attrs, ...children) {
    const e = document.createElement(tag);
    for (const [k, v] of Object.entries(attrs || {})) e.setAttribute(k, v);
    e.append(...children);
    return e;
  }
  const link = (href, text) => el("a", { href }, text);
  const cell = (c, tag) => (c instanceof Node ? c : el(tag, {}, String(c)));
  const row = (cells, tag = "td") => el("tr", {}, ...cells.map((c) => cell(c, tag)));
  const num = (text) => el("td", { class: "n" }, String(text));
  const mono = (text) => el("td", { class: "mono" }, String(text));
  const hex = (n) => "0x" + n.toString(16);
  const range = (first, last) => (first === last ? String(first) : first + ".." + last);

  // ---- Search: a part of a name in any case, or a glob with * and ? over the whole name.
  function matcher(pattern) {
    if (!/[*?]/.test(pattern)) return (name) => name.toLowerCase().includes(pattern.toLowerCase());
    const glob = pattern.replace(/[.+^${}()|[\]\\]/g, "\\$&").replace(/\*/g, ".*").replace(/\?/g, ".");
    const re = new RegExp("^" + glob + "$", "i");
    return (name) => re.test(name);
  }

  function showResults() {
    const pattern = $("search").value.trim(), out = $("results");
    out.replaceChildren();
    if (!pattern) return;
    if (pattern.includes(":")) return showLocated(pattern, out);
    const match = matcher(pattern);
    const classes = TC_INDEX.classes.filter((c) => match(c.name));
    const fields = TC_INDEX.fields.filter((f) => match(f.name) || match(f.hardwareName));
    const items = classes.map((c) => el("li", {}, link(c.name + ".html", c.name), ` ${c.kind}: ${c.summary}`));
    for (const f of fields) {
      const places = f.classes.flatMap((c, i) => [i ? ", " : "", link(`${c}.html#field=${f.name}`, c)]);
      items.push(el("li", {}, el("code", {}, f.name), ` (${f.hardwareName}) in `, ...places));
    }
    const shown = 200;
    const count = (n, one, many) => `${n} ${n === 1 ? one : many}`;
    out.append(`${count(classes.length, "class", "classes")} and ${count(fields.length, "field", "fields")} match` +
               (items.length > shown ? `; the first ${shown} shown` : ""), el("ul", {}, ...items.slice(0, shown)));
  }

  // ---- Locating: what lies at BLOCK:ADDRESS on a chip, by the placements the tool wrote
  // (addresses.js, loaded when first asked): entry t of element a lies at base + a * stride + t.
  const U32_MAX = 0xffffffff;
  const ADDRESS_FORM = "give BLOCK:ADDRESS, each decimal or 0x hex, e.g. 617:40000 or 0x269:0x9c40";

  // Block and address of "BLOCK:ADDRESS"; throws Error with a one-line message.
  function parseAddress(text) {
    const parts = text.split(":").map((p) => p.trim());
    if (parts.length !== 2) throw new Error(`'${text}' is not BLOCK:ADDRESS; ${ADDRESS_FORM}`);
    const number = (part, what) => {
      if (!part) throw new Error(`'${text}' has no ${what}; ${ADDRESS_FORM}`);
      const ok = /^(0x[0-9a-f]+|[0-9]+)$/i.test(part);
      if (!ok || BigInt(part) > BigInt(U32_MAX))
        throw new Error(`${what} must be a number from 0 to ${U32_MAX}, not '${part}'; ${ADDRESS_FORM}`);
      return Number(BigInt(part));
    };
    return { block: number(parts[0], "BLOCK"), address: number(parts[1], "ADDRESS") };
  }

  // Everything at the address of the block, as `locate --json` lists it: by class, instance,
  // sub-block, element and entry, the variants of each place together.
  function locate(chip, block, address) {
    const places = new Map();
    const rows = TC_ADDRESSES.chips[chip] || [];
    for (const [c, variants, instance, subBlock, b, base, elements, stride, entries] of rows) {
      if (b !== block || address < base) continue;
      const arrayElement = Math.floor((address - base) / stride), tableEntry = (address - base) % stride;
      if (!(arrayElement < elements && tableEntry < entries)) continue;
      const m = { class: TC_ADDRESSES.classes[c], variants: [], instance, subBlock, arrayElement, tableEntry };
      const key = [m.class, instance, subBlock, arrayElement, tableEntry].join(" ");
      if (!places.has(key)) places.set(key, m);
      places.get(key).variants.push(...variants);
    }
    const order = ["instance", "subBlock", "arrayElement", "tableEntry"];
    const before = (x, y) => (x.class !== y.class ? (x.class < y.class ? -1 : 1) :
                              order.map((k) => x[k] - y[k]).find((d) => d) || 0);
    const out = [...places.values()].sort(before);
    for (const m of out) m.variants.sort((x, y) => x - y);
    return out;
  }

  // "0-7, 16", as the tool writes variants.
  function variantText(variants) {
    const out = [];
    for (let i = 0, j; i < variants.length; i = j + 1) {
      for (j = i; j + 1 < variants.length && variants[j + 1] === variants[j] + 1; ++j);
      out.push(j > i ? `${variants[i]}-${variants[j]}` : String(variants[i]));
    }
    return out.join(", ");
  }

  let addressesState = "";  // "", "loading" or "failed"
  function loadAddresses() {
    addressesState = "loading";
    const script = el("script", { src: "addresses.js" });
    script.onload = showResults;
    script.onerror = () => { addressesState = "failed"; showResults(); };
    document.body.append(script);
  }

  // The chip in the class page's selector, or beside the search box on the index.
  const chosenChip = () => ($("chip") || $("search-chip")).value;

  function showLocated(text, out) {
    const line = (message, error) => out.append(el("p", error ? { class: "error" } : {}, message));
    let q;
    try {
      q = parseAddress(text);
    } catch (e) {
      return line(e.message, true);
    }
    if (typeof TC_ADDRESSES === "undefined") {
      if (addressesState === "failed")
        return line("addresses.js, where the classes lie, did not load; write the site again", true);
      if (!addressesState) loadAddresses();
      return line("reading where the classes lie\u2026");
    }
    const chip = chosenChip(), matches = locate(chip, q.block, q.address);
    const at = `block ${q.block} address ${hex(q.address)} (${q.address}) on ${chip}`;
    if (!matches.length) {
      const empty = !(TC_ADDRESSES.chips[chip] || []).some((p) => p[4] === q.block);
      return line(`nothing of the catalogue lies at ${at}` +
                  (empty ? `; nothing lies in block ${q.block} there at all` : ""));
    }
    const memory = new Set(TC_INDEX.classes.filter((c) => c.kind === "memory").map((c) => c.name));
    const items = matches.map((m) => el("li", {},
      link(m.class + ".html" + stateHash({ chip, variant: m.variants[0] }), m.class),
      ` ${m.variants.length === 1 ? "variant" : "variants"} ${variantText(m.variants)}, instance ${m.instance}, ` +
      `sub-block ${m.subBlock}, element ${m.arrayElement}` + (memory.has(m.class) ? `, entry ${m.tableEntry}` : "")));
    out.append(`${at}:`, el("ul", {}, ...items));
  }

  // ---- Decoding, by the rules of `tessel-counters decode` and its grammar (Entry.h).
  const FORM_HINT = {
    bytes: 'give the bytes in buffer order, byte 0 first, as pairs of hex digits, ' +
        'e.g. \'0x01020304\', \'01 02 03 04\' or \'01:02:03:04\'',
    words: 'give 32-bit words, word 0 (bits 0..31) first, each as a register read prints it, ' +
        'e.g. \'0x1f 0xffffffff\' or \'0000001f ffffffff\'',
  };
  const quoted = (t) =>
      (t.length <= 120 ? `'${t}'` : `'${t.slice(0, 100)}...' (${t.length} characters)`);
  const place = (line, column) => ` (line ${line}, column ${column})`;
  const plural = (n, unit) => `${n} ${unit}${n === 1 ? '' : 's'}`;
  const hex2 = (n) => n.toString(16).padStart(2, '0');

  // The groups of the text with where each starts; throws at a character that is not ASCII text.
  function splitGroups(text, colons, bad) {
    const groups = [], blank = colons ? ' \t\r:' : ' \t\r';
    text.split('\n').forEach((line, n) => {
      for (let i = 0; i < line.length;) {
        const c = line[i], code = line.codePointAt(i);
        if (c === '#') break;
        if (blank.includes(c)) {
          ++i;
          continue;
        }
        if (code < 0x20 || code >= 0x7f) {
          const shown = code >= 0x80 ? 'U+' + code.toString(16).toUpperCase().padStart(4, '0') :
                                       `'\\x${hex2(code)}'`;
          bad(shown + (code >= 0x80 ? ' is not ASCII' : ' is a control character') +
              place(n + 1, i + 1));
        }
        const start = i;
        while (i < line.length && !(blank + '#').includes(line[i]) && line.charCodeAt(i) >= 0x20 &&
               line.charCodeAt(i) < 0x7f)
          ++i;
        groups.push({text: line.slice(start, i), line: n + 1, column: start + 1});
      }
    });
    return groups;
  }

  // The entry's bytes from text in the form ("bytes" or "words"); throws Error with the tool's
  // message.
  function parseEntry(text, form, size, where, hint) {
    const bytesForm = form === 'bytes';
    const shown = text.replace(/[ \t\r\n]+/g, ' ').replace(/^ | $/g, '');
    const fail = (message) => {
      throw new Error(message);
    };
    const bad = (why) => fail(`bad HEX ${quoted(shown)}: ${why}; ${FORM_HINT[form]}`);
    const groups =
        splitGroups(text, bytesForm, (why) => fail(`bad HEX: ${why}; ${FORM_HINT[form]}`));
    const bytes = [], notes = [];
    for (const g of groups) {
      const prefix = /^0x/i.test(g.text) ? 2 : 0, digits = g.text.slice(prefix);
      if (!digits) bad('\'0x\' without digits' + place(g.line, g.column));
      const wrong = digits.search(/[^0-9a-fA-F]/);
      if (wrong >= 0)
        bad(`'${digits[wrong]}' is not a hex digit` + place(g.line, g.column + prefix + wrong));
      if (!bytesForm) {
        if (digits.length > 8)
          bad(`${quoted(g.text)} has ${digits.length} hex digits, more than a 32-bit word` +
              place(g.line, g.column));
        const word = parseInt(digits, 16);
        for (let b = 0; b < 4; ++b) bytes.push((word >>> (8 * b)) & 0xff);
        continue;
      }
      if (digits.length % 2)
        bad(`${quoted(g.text)} is not a whole number of bytes, an odd count of digits` +
            place(g.line, g.column));
      const first = bytes.length;
      for (let k = 0; k < digits.length; k += 2) bytes.push(parseInt(digits.slice(k, k + 2), 16));
      if (prefix && digits.length > 2 && !notes.length) {
        const count = digits.length / 2,
              shownBytes = bytes.slice(first, first + Math.min(count, 4)).map(hex2).join(' ');
        notes.push(
            `HEX ${quoted(g.text)} is read as bytes in buffer order, byte 0 first (${shownBytes}` +
            `${count > 4 ? ' ...' : ''}), not as a number` +
            (hint ? '; for 32-bit words as a register read prints them, ' + hint : ''));
      }
    }
    const unit = bytesForm ? 'byte' : 'word', count = bytesForm ? bytes.length : bytes.length / 4;
    if (!count) bad(`no ${unit}s`);
    const want = bytesForm ? size : size / 4;
    if (count > want)
      fail(
          `HEX has ${plural(count, unit)}, but ${where} is ${plural(want, unit)}` +
          (bytesForm ? ` (${plural(size / 4, 'word')})` : '') +
          `; give at most ${plural(want, unit)}, ${unit} 0 first`);
    if (count < want)
      notes.push(`HEX has ${count} of ${want} ${unit}s; ${unit}s ${count}..${
          want - 1} are taken as ${bytesForm ? '00' : '0'}`);
    while (bytes.length < size) bytes.push(0);
    return {bytes, notes};
  }

  const bit = (bytes, k) => (bytes[k >> 3] >> (k & 7)) & 1;

  function fieldValue(bytes, f) {
    let v = 0n;
    for (let k = f.offset + f.width - 1; k >= f.offset; --k) v = (v << 1n) | BigInt(bit(bytes, k));
    return v;
  }

  // Every field's value on a shape, views with their depth, and the set bits outside every field.
  function decode(shape, text, where = 'the entry', form = 'bytes', hint = '') {
    const {bytes, notes} = parseEntry(text, form, 4 * shape.widthWords, where, hint);
    const byName = new Map(shape.fields.map((f) => [f.name, f]));
    const depth = (f) => (f.viewOf ? 1 + depth(byName.get(f.viewOf)) : 0);
    const fields = shape.fields.map((f) => {
      const v = fieldValue(bytes, f);
      return { name: f.name, bits: range(f.offset, f.offset + f.width - 1), width: f.width,
               hex: "0x" + v.toString(16).padStart(Math.max(1, Math.ceil(f.width / 4)), "0"),
               decimal: v.toString(), depth: depth(f), viewOf: f.viewOf, overlaps: f.overlaps };
    });
    const covered = new Set();
    for (const f of shape.fields) for (let k = f.offset; k < f.offset + f.width; ++k) covered.add(k);
    const strayBits = [];
    for (let k = 0; k < 8 * bytes.length; ++k) {
      if (!bit(bytes, k) || covered.has(k)) continue;
      const last = strayBits[strayBits.length - 1];
      if (last && last.last + 1 === k) last.last = k; else strayBits.push({ first: k, last: k });
    }
    return {notes, note: notes.join('\n'), fields, strayBits};
  }

  // ---- A class page.
  let data = null, layout = null;
  const shapeOf = (l) => data.shapes[l.shape];
  const has = (l, name) => shapeOf(l).fields.some((f) => f.name === name);
  const shownField = () => new URLSearchParams(location.hash.slice(1)).get("field");
  const stateHash = (l, field) => `#chip=${l.chip}&variant=${l.variant}` + (field ? `&field=${field}` : "");

  // The layout that the page's address asks for: chip and variant, or the first with the field.
  // An unknown chip or variant is told in one line above the page, which shows the first chip.
  function fromHash() {
    const want = new URLSearchParams(location.hash.slice(1));
    const chip = want.get("chip"), variant = want.get("variant"), field = want.get("field");
    const chips = new Set(data.layouts.map((l) => l.chip));
    const known = chip !== null && chips.has(chip);
    let notice = "";
    if (chip !== null && !known) {
      notice = `${data.class} has no chip '${chip}'; it exists on ${[...chips].join(", ")}; ` +
               `showing ${data.layouts[0].chip}`;
    } else if (known && variant !== null &&
               !data.layouts.some((l) => l.chip === chip && String(l.variant) === variant)) {
      const variants = data.layouts.filter((l) => l.chip === chip).map((l) => l.variant);
      notice = `${data.class} has no variant '${variant}' on ${chip}; its variants there: ${variantText(variants)}`;
    }
    $("notice").textContent = notice;
    $("notice").hidden = !notice;
    layout = data.layouts.find((l) => l.chip === chip && String(l.variant) === variant) ||
             data.layouts.find((l) => (!known || l.chip === chip) && (!field || has(l, field))) ||
             data.layouts.find((l) => !known || l.chip === chip) || data.layouts[0];
    render(field);
  }

  function fillSelectors() {
    const chips = [...new Set(data.layouts.map((l) => l.chip))];
    $("chip").replaceChildren(...chips.map((c) => el("option", { value: c }, c)));
    $("chip").value = layout.chip;
    const variants = data.layouts.filter((l) => l.chip === layout.chip).map((l) => l.variant);
    $("variant").replaceChildren(...variants.map((v) => el("option", { value: v }, String(v))));
    $("variant").value = layout.variant;
  }

  function geometryTable() {
    const l = layout, rows = [["kind", data.kind], ["widthWords", `${l.widthWords} (${l.entryBytes} bytes)`],
      ["arrayElements", l.arrayElements], ["elementStride", l.elementStride]];
    if (data.kind === "memory") rows.push(["entries", l.entries], ["tableVariantCount", l.tableVariantCount]);
    rows.push(["instanceCount", l.instanceCount], ["fieldCount", l.fieldCount],
              ["address", `${l.address} (${hex(l.address)})`]);
    $("geometry").replaceChildren(...rows.map(([k, v]) => row([el("th", {}, k), mono(v)])));
  }

  function instanceTable() {
    const head = row(["instance", "subBlock", "block", "first address", "last address"], "th");
    const rows = layout.instances.map((s) => row([num(s.identifier), num(s.subBlock), num(s.block),
      num(`${s.firstAddress} (${hex(s.firstAddress)})`), num(`${s.lastAddress} (${hex(s.lastAddress)})`)]));
    $("instances").replaceChildren(head, ...rows);
    const memory = data.kind === "memory";
    $("address-rule").textContent = `${memory ? "Entry t of array" : "Array"} element a of any instance lies at ` +
      `address ${layout.address} + a \u00d7 ${layout.elementStride}${memory ? " + t" : ""}; ` +
      "the instances differ in subBlock and block.";
  }

  // The other chips of the class where the field lies, grouped by its bits there: a line a
  // group with its count, the chips' links behind a toggle.
  function whereElse(name) {
    const groups = new Map();
    for (const l of data.layouts) {
      const f = shapeOf(l).fields.find((g) => g.name === name);
      if (!f || l.chip === layout.chip) continue;
      const bits = range(f.offset, f.offset + f.width - 1);
      if (!groups.has(bits)) groups.set(bits, new Map());
      if (!groups.get(bits).has(l.chip)) groups.get(bits).set(l.chip, l);
    }
    return [...groups].map(([bits, chips]) => {
      const links = [...chips.values()].flatMap((l, i) => [i ? " " : "", link(stateHash(l, name), l.chip)]);
      const count = `bits ${bits}: ${chips.size} chip${chips.size === 1 ? "" : "s"}`;
      return el("details", {}, el("summary", {}, count), ...links);
    });
  }

  function fieldTable(highlight) {
    const head = row(["#", "field", "hardware name", "id", "bits", "width", "other chips", "other classes"], "th");
    const rows = shapeOf(layout).fields.map((f, i) => {
      const others = f.alsoIn.flatMap((c, k) => [k ? " " : "", link(`${c}.html#field=${f.name}`, c)]);
      const r = row([num(i + 1), mono(f.name), mono(f.hardwareName),
        num(f.id), num(range(f.offset, f.offset + f.width - 1)), num(f.width),
        el("td", { class: "where" }, ...whereElse(f.name)), el("td", { class: "where" }, ...others)]);
      r.id = "field-" + f.name;
      if (f.name === highlight) r.className = "hit";
      return r;
    });
    $("fields").replaceChildren(head, ...rows);
  }

  function showDecoded() {
    const note = $("decode-note"), table = $("decoded"), after = $("decode-after");
    note.className = "";
    [note, table, after].forEach((e) => e.replaceChildren());
    if (!$("hex").value.trim()) return;
    let result;
    try {
      result = decode(
          shapeOf(layout), $('hex').value,
          `${data.class} on ${layout.chip} variant ${layout.variant}`,
          $('words').checked ? 'words' : 'bytes', 'tick \'words\' above');
    } catch (e) {
      note.className = "error";
      note.textContent = e.message;
      return;
    }
    note.textContent = result.note;
    table.append(row(["bits", "width", "field", "hex", "decimal", ""], "th"));
    for (const f of result.fields) {
      const name = el("td", { class: "mono", style: `padding-left: ${8 + 16 * f.depth}px` }, f.name);
      const overlaps = f.overlaps ? "overlaps " + f.overlaps.join(", ") : "";
      table.append(row([num(f.bits), num(f.width), name, mono(f.hex), num(f.decimal), overlaps]));
    }
    const lines = [];
    if (result.fields.some((f) => f.viewOf || f.overlaps))
      lines.push("indented fields are views of bits of the field above them");
    if (result.strayBits.length)
      lines.push("set bits outside every field: " + result.strayBits.map((s) => range(s.first, s.last)).join(", "));
    after.textContent = lines.join("\n");
  }

  function render(highlight) {
    fillSelectors();
    geometryTable();
    instanceTable();
    $("bitmap").replaceChildren($("shape-" + layout.shape).content.cloneNode(true));
    fieldTable(highlight);
    showDecoded();
    const hit = highlight && $("field-" + highlight);
    if (hit) hit.scrollIntoView({ block: "center" });
    if ($("search").value.includes(":")) showResults();  // an address is looked up on the chip chosen
  }

  function startClassPage() {
    data = JSON.parse($("class-data").textContent);
    $("chip").addEventListener("change", () => {
      const l = data.layouts.find((x) => x.chip === $("chip").value && x.variant === layout.variant) ||
                data.layouts.find((x) => x.chip === $("chip").value);
      location.hash = stateHash(l, shownField());
    });
    $("variant").addEventListener("change", () => {
      location.hash = stateHash({ chip: layout.chip, variant: $("variant").value }, shownField());
    });
    $("hex").addEventListener("input", showDecoded);
    $('words').addEventListener('change', showDecoded);
    window.addEventListener("hashchange", fromHash);
    fromHash();
  }

  $("search").addEventListener("input", showResults);
  if ($("search-chip")) $("search-chip").addEventListener("change", showResults);
  if ($("class-data")) startClassPage();
  return { decode, locate, layout: () => layout, shape: () => shapeOf(layout) };
})();
