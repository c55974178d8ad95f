"""C++ text laid out as clang-format lays it out with the project's
.clang-format (Google style, 100 columns), so that the generated files pass
`clang-format --dry-run --Werror` as they are written.

Only the shapes the generator writes are covered: declarations and function
heads, calls and initialiser lists that wrap, braced lists of items (in
clang-format's columns where it uses them), trailing comments aligned, and
macro bodies. Where a line is too long, clang-format picks the layout of
least penalty; `best_layout` weighs the same candidates with weights fitted
to its choices (line breaks between items, after the opening parenthesis,
after a class's `::`, after the result type).
"""

from dataclasses import dataclass, field

COLUMNS = 100
CONTINUATION = 4  # the indent of a wrapped line
COMMENT_GAP = 2  # spaces before a trailing comment

# The penalties of the line breaks that a layout adds.
BREAK_BETWEEN = 25  # between two items
BREAK_AFTER_OPEN = 90  # after "(" or "{"
BREAK_AFTER_SCOPE = 300  # after "Class::"
BREAK_AFTER_RESULT = 150  # after the result type
BREAK_BEFORE_CLOSE = 1  # between the braces of an empty body


@dataclass(frozen=True)
class Head:
    """Something that opens a list: `result scope name(`."""
    name: str
    result: str = ""
    scope: str = ""  # "Class::"
    open: str = "("

    def text(self) -> str:
        return (self.result + " " if self.result else "") + self.scope + self.name + self.open


def pack(first_column: int, column: int, items: list[str], close: str) -> list[str]:
    """Items separated by ", ", as many to a line as fit: the first line from
    first_column, the others from column; `close` follows the last item."""
    if not items:
        return [close]
    lines: list[str] = []
    line = ""
    at = first_column
    for i, item in enumerate(items):
        piece = item + ("," if i < len(items) - 1 else close)
        candidate = f"{line} {piece}" if line else piece
        if not line or at + len(candidate) <= COLUMNS:
            line = candidate
        else:
            lines.append(line)
            line, at = piece, column
    lines.append(line)
    return lines


def layouts(column: int, head: Head, items: list[str], close: str) -> list[tuple[int, list[str]]]:
    """(penalty, lines) of each way clang-format considers for `head items close`."""
    pad = " " * column
    opened = head.text()
    if len(pad + opened + ", ".join(items) + close) <= COLUMNS:
        return [(0, [pad + opened + ", ".join(items) + close])]
    found = []
    aligned = column + len(opened)
    lines = pack(aligned, aligned, items, close)
    found.append((BREAK_BETWEEN * (len(lines) - 1),
                  [pad + opened + lines[0]] + [" " * aligned + line for line in lines[1:]]))
    if items:
        inner = column + CONTINUATION
        lines = pack(inner, inner, items, close)
        found.append((BREAK_AFTER_OPEN + BREAK_BETWEEN * (len(lines) - 1),
                      [pad + opened] + [" " * inner + line for line in lines]))
    if head.scope:
        unscoped = Head(head.name, open=head.open)
        first = pad + (head.result + " " if head.result else "") + head.scope
        for penalty, lines in layouts(column + CONTINUATION, unscoped, items, close):
            found.append((BREAK_AFTER_SCOPE + penalty, [first] + lines))
    if head.result:
        unresulted = Head(head.name, scope=head.scope, open=head.open)
        for penalty, lines in layouts(column, unresulted, items, close):
            found.append((BREAK_AFTER_RESULT + penalty, [pad + head.result] + lines))
    return found


def best_layout(column: int, head: Head, items: list[str], close: str) -> list[str]:
    """The lines of `head items close` at `column`: on one line if it fits,
    else the layout of least penalty whose lines fit (the earliest of equals).
    An empty body "{}" may open on one line and close on the next."""
    found = layouts(column, head, items, close)
    if close.endswith(" {}") and len(found) > 1:
        found += [(BREAK_BEFORE_CLOSE + penalty, lines + [" " * column + "}"])
                  for penalty, lines in layouts(column, head, items, close[:-1])]
    # Where a name is too long for any layout to fit, the one whose longest
    # line is shortest: clang-format too leaves a line over the limit then.
    def cost(layout: tuple[int, list[str]]) -> tuple[int, int]:
        penalty, lines = layout
        return max(0, max(len(line) for line in lines) - COLUMNS), penalty

    return min(found, key=cost)[1]


def split_call(statement: str) -> tuple[Head, list[str], str] | None:
    """'return f(a, b(c), d);' -> (Head('return f'), ['a', 'b(c)', 'd'], ');'),
    or None where the statement doesn't end in a call."""
    depth = 0
    start = None
    for i, c in enumerate(statement):
        if c in "({":
            if depth == 0 and start is None:
                start = i
            depth += 1
        elif c in ")}":
            depth -= 1
            if depth == 0 and start is not None:
                items = split_items(statement[start + 1:i])
                return Head(statement[:start], open=statement[start]), items, statement[i:]
    return None


def split_items(text: str) -> list[str]:
    """The items of a list, split at the commas outside brackets and quotes."""
    items, depth, quoted, start = [], 0, False, 0
    for i, c in enumerate(text):
        if c == '"' and (i == 0 or text[i - 1] != "\\"):
            quoted = not quoted
        elif not quoted and c in "([{<":
            depth += 1
        elif not quoted and c in ")]}>":
            depth -= 1
        elif not quoted and depth == 0 and c == ",":
            items.append(text[start:i].strip())
            start = i + 1
    if text.strip():
        items.append(text[start:].strip())
    return items


def statement_lines(column: int, statement: str) -> list[str]:
    """A statement at `column`, wrapped as a call where it is too long."""
    if column + len(statement) <= COLUMNS:
        return [" " * column + statement]
    if statement.endswith(" {}") and column + len(statement) - 1 <= COLUMNS:
        return [" " * column + statement[:-1], " " * column + "}"]
    call = split_call(statement)
    if call is None:  # nothing to wrap at: left long, as clang-format leaves it
        return [" " * column + statement]
    return best_layout(column, *call)


# --------------------------------------------------------------------------
# Braced lists

@dataclass
class ColumnFormat:
    columns: int
    line_count: int
    width: int
    sizes: list[int]


def column_formats(lengths: list[int], end_lengths: list[int],
                   breaks: list[bool]) -> list["ColumnFormat"]:
    """The column layouts clang-format weighs for a braced list: per number of
    columns, the lines it takes, its width and each column's width. A layout
    whose column holds items of widths more than 10 apart is left out, as is
    one wider than the page."""
    formats = []
    for columns in range(1, COLUMNS // 3 + 1):
        sizes = [0] * columns
        shortest = [COLUMNS * 10] * columns
        line_count, column, full_row = 1, 0, False
        for length, end_length, must_break in zip(lengths, end_lengths, breaks):
            if must_break or column == columns:
                line_count += 1
                column = 0
            if column == columns - 1:
                full_row = True
            width = end_length if column == columns - 1 else length
            sizes[column] = max(sizes[column], width)
            shortest[column] = min(shortest[column], width)
            column += 1
        if not full_row:
            break
        width = columns - 1 + sum(sizes)
        if any(sizes[c] - shortest[c] > 10 for c in range(columns - 1)):
            continue
        if width > COLUMNS and columns > 1:
            continue
        formats.append(ColumnFormat(columns, line_count, width, sizes))
    return formats


def choose_format(formats: list[ColumnFormat], room: int) -> ColumnFormat:
    """The fewest columns among the layouts that fit with the fewest lines."""
    best = None
    for f in reversed(formats):
        if f.width <= room or f.columns == 1:
            if best is not None and f.line_count > best.line_count:
                break
            best = f
    return best


def list_rows(items: list[str], comments: dict[int, str], column: int) -> list[list[tuple]]:
    """The lines of a braced list's items from `column`: each a list of
    (item index, padding after its comma)."""
    lengths = [len(item) + 1 for item in items]
    end_lengths = [n + (COMMENT_GAP + len("// " + comments[i]) if i in comments else 0)
                   for i, n in enumerate(lengths)]
    breaks = [i > 0 and i - 1 in comments for i in range(len(items))]
    if len(items) < 5:
        return few_rows(lengths, end_lengths, column, set(comments) == {len(items) - 1})
    f = choose_format(column_formats(lengths, end_lengths, breaks), COLUMNS - column)
    rows, row = [], []
    for i in range(len(items)):
        if row and (len(row) == f.columns or breaks[i]):
            rows.append(row)
            row = []
        row.append((i, f.sizes[len(row)] - lengths[i]))
    rows.append(row)
    return rows


def few_rows(lengths: list[int], end_lengths: list[int], column: int,
             packed: bool) -> list[list[tuple]]:
    """The lines of a list too short for columns: as many items as fit where
    the one comment follows the last item, else one item to a line."""
    if not packed:
        return [[(i, 0)] for i in range(len(lengths))]
    rows, row, width = [], [], column
    for i, (length, end_length) in enumerate(zip(lengths, end_lengths)):
        if row and width + 1 + end_length > COLUMNS:
            rows.append(row)
            row, width = [], column
        width += (1 if row else 0) + length
        row.append((i, 0))
    rows.append(row)
    return rows


# --------------------------------------------------------------------------

@dataclass
class Line:
    depth: int
    code: str
    comment: str = ""  # a trailing comment, without "// "
    raw: bool = False  # indented already


@dataclass
class Out:
    """Lines of C++ at an indent, with trailing comments aligned as
    clang-format aligns them: on consecutive lines, at one column."""
    lines: list[Line] = field(default_factory=list)
    depth: int = 0

    def __call__(self, code: str = "", comment: str = "") -> None:
        self.lines.append(Line(self.depth if code else 0, code, comment))

    def raw(self, code: str, comment: str = "") -> None:
        self.lines.append(Line(0, code, comment, raw=True))

    def indent(self) -> None:
        self.depth += 1

    def dedent(self) -> None:
        self.depth -= 1

    @property
    def column(self) -> int:
        return 2 * self.depth

    def text(self) -> str:
        texts = [line.code if line.raw else "  " * line.depth + line.code for line in self.lines]
        for start, end, at in comment_runs(self.lines, texts):
            for i in range(start, end):
                texts[i] = texts[i].ljust(at) + "// " + self.lines[i].comment
        return "\n".join(t.rstrip() for t in texts) + "\n"

    # Shapes of code --------------------------------------------------------

    def comment(self, text: str) -> None:
        """A comment on lines of its own, its words wrapped at the column limit."""
        line = ""
        for word in text.split():
            if line and self.column + len(f"// {line} {word}") > COLUMNS:
                self(f"// {line}")
                line = word
            else:
                line = f"{line} {word}" if line else word
        self(f"// {line}")

    def class_head(self, name: str, bases: list[str]) -> None:
        """`class name : bases {`, the bases aligned after the colon or, where
        that doesn't fit, each on a line of its own under the name."""
        one_line = f"class {name} : {', '.join(bases)} {{"
        if self.column + len(one_line) <= COLUMNS:
            self(one_line)
            return
        aligned = [f"class {name} : {bases[0]},"] + [
            " " * (len(name) + 9) + b + ("," if i < len(bases) - 2 else " {")
            for i, b in enumerate(bases[1:])]
        if all(self.column + len(line) <= COLUMNS for line in aligned):
            for line in aligned:
                self(line)
            return
        self(f"class {name}")
        for i, b in enumerate(bases):
            lead = "    : " if i == 0 else "      "
            self(lead + b + ("," if i < len(bases) - 1 else " {"))

    def wrapped(self, head: Head, items: list[str], close: str) -> None:
        for line in best_layout(self.column, head, items, close):
            self.raw(line)

    def statement(self, text: str) -> None:
        for line in statement_lines(self.column, text):
            self.raw(line)

    def function(self, head: Head, params: list[str], close: str, body: list[str]) -> None:
        """A function definition; an empty body stays on the head's line."""
        if not body:
            self.wrapped(head, params, close + " {}")
            return
        self.wrapped(head, params, close + " {")
        self.indent()
        for statement in body:
            self.statement(statement)
        self.dedent()
        self("}")

    def braced(self, head: str, items: list[str], comments: dict[int, str] | None = None,
               close: str = "};") -> None:
        """`head {items}close`: on one line where it fits and has no comment,
        else one item to a line or in clang-format's columns, each line
        ending in a comma."""
        comments = comments or {}
        one_line = f"{head}{{{', '.join(items)}}}{close[1:]}"
        if not comments and self.column + len(one_line) <= COLUMNS:
            self(one_line)
            return
        self(head + "{")
        column = self.column + CONTINUATION
        for row in list_rows(items, comments, column):
            self.list_row(column, [(items[i], pad) for i, pad in row], comments.get(row[-1][0], ""))
        self(close)

    def list_row(self, column: int, row: list[tuple[str, int]], comment: str) -> None:
        text = ""
        for i, (item, pad) in enumerate(row):
            text += item + "," + (" " * (pad + 1) if i < len(row) - 1 else "")
        if column + len(text) <= COLUMNS or len(row) > 1:
            self.raw(" " * column + text, comment)
            return
        call = split_call(row[0][0] + ",")
        lines = best_layout(column, call[0], call[1], call[2])
        for line in lines[:-1]:
            self.raw(line)
        self.raw(lines[-1], comment)


def comment_runs(lines: list[Line], texts: list[str]) -> list[tuple[int, int, int]]:
    """(first, end, column) of each run of consecutive lines with trailing
    comments that clang-format aligns at one column: the farthest of their
    natural places, as long as every comment of the run still fits."""
    runs = []
    start = None
    low = high = 0
    for i, line in enumerate(lines + [Line(0, "")]):
        if not line.comment:
            if start is not None:
                runs.append((start, i, low))
            start = None
            continue
        natural = len(texts[i].rstrip()) + COMMENT_GAP
        limit = COLUMNS - len("// " + line.comment)
        if start is not None and natural <= high and limit >= low:
            low, high = max(low, natural), min(high, limit)
            continue
        if start is not None:
            runs.append((start, i, low))
        start, low, high = i, natural, limit
    return runs


def macro(o: Out, head: str, body: Out) -> None:
    """#define head, the body's lines continued by backslashes at one column."""
    lines = [f"#define {head}"] + body.text().rstrip("\n").split("\n")
    at = max(len(line) for line in lines) + 1
    for line in lines[:-1]:
        o.raw(line.ljust(at) + "\\")
    o.raw(lines[-1])


def banner(source: str) -> str:
    """What the first comment of every generated file says."""
    return f"Generated by generator/tcgen.py from {source}. Do not edit."


def opening(source: str, *groups: list[str], header: bool = False) -> Out:
    """A generated file's first lines: the banner, `#pragma once` in a header,
    and its includes ("<name>" or "\"name\""), a blank line after each group."""
    o = Out()
    o.comment(banner(source))
    if header:
        o("#pragma once")
        o()
    for group in groups:
        for name in group:
            o(f"#include {name}")
        o()
    return o
