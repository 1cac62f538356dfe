#!/usr/bin/env python3
"""Shows what scripts/bench measured, each case beside its rivals and its aims.

Usage: bench/performance_page.py table FILE...   prints the results in the files
       bench/performance_page.py page FOLDER     writes docs/performance.md and docs/figures/
                                                 from all results in the folder
       bench/performance_page.py compare FOLDER  compares them with the committed page and fails
                                                 if a ratio changed sides

A file of results is named after its group. *.json is Google Benchmark's: the counter
"median ns" is our time and every other counter the ratio to the rival of that name. Lines of
*.tsv hold case, our figure, its unit, rival and the rival's figure.
"""
import fnmatch
import json
import os
import re
import subprocess
import sys
import textwrap
import time

import plot

HERE = os.path.dirname(os.path.abspath(__file__))
PROJECT = os.path.dirname(HERE)

GROUPS = {
    "tool": "The tool beyond its sleeps",
    "snapshot": "The process list",
    "collection": "CPU time and memory of all processes",
    "table": "The full list's sorts and usage, by records (0 shuffled, 1 in order, 2 worst)",
    "strings": "Strings, by capacity",
    "list": "The list of text, by number of elements",
    "checksums": "Checksums, by bytes",
    "a85": "Base-85 text of 1 MiB",
    "buffer": "The data buffer and its search",
    "time": "Texts of a point in time",
    "paths": "Paths",
    "files": "Files",
    "size": "Size and compile time",
}


class Result:
    """One case: our figure with its unit, and for every rival its figure in the same unit."""

    def __init__(self, group, case, ours, unit):
        self.group, self.case, self.ours, self.unit = group, case, ours, unit
        self.rivals = {}

    def ratio(self, rival):
        return self.ours / self.rivals[rival]


def read_json(path, group):
    results = {}
    with open(path, encoding="utf-8") as file:
        benchmarks = json.load(file)["benchmarks"]
    for run in benchmarks:
        case = re.sub(r"/(iterations:\d+|manual_time|min_time:[\d.]+)", "", run["run_name"])
        ours = run["median ns"]
        # The fields that every benchmark has stand in front of the counters.
        counters = list(run)[list(run).index("time_unit") + 1:]
        result = results.setdefault(case, Result(group, case, ours, "ns"))
        for rival in counters:
            if rival != "median ns" and run[rival] > 0:
                # In the unit of the first run of the case, if the same case met others as well.
                result.rivals[rival] = result.ours / run[rival]
    return [result for result in results.values() if result.rivals]


def read_tsv(path, group):
    results = {}
    with open(path, encoding="utf-8") as file:
        for line in file:
            case, ours, unit, rival, theirs = line.rstrip("\n").split("\t")
            result = results.setdefault(case, Result(group, case, float(ours), unit))
            result.rivals[rival] = float(theirs)
    return list(results.values())


def read(path):
    group, kind = os.path.splitext(os.path.basename(path))
    group = group.split("-")[0]
    return (read_json if kind == ".json" else read_tsv)(path, group)


class Aims:
    def __init__(self):
        self.lines = []
        with open(os.path.join(HERE, "aims.txt"), encoding="utf-8") as file:
            for line in file:
                if line.strip() and not line.startswith("#"):
                    fields = [field.strip() for field in line.split("|", 4)]
                    self.lines.append(fields + [""] * (5 - len(fields)))

    def of(self, result, rival):
        """Gives the words of the aim, whether it is reached and what keeps it from that, or None
        without an aim."""
        for group, case, wanted_rival, aim, why in self.lines:
            if group != result.group or not fnmatch.fnmatchcase(result.case, case):
                continue
            if not fnmatch.fnmatchcase(rival, wanted_rival):
                continue
            if aim == "-":
                return None
            limit = float(aim.removeprefix("ours "))
            figure = result.ours if aim.startswith("ours") else result.ratio(rival)
            # What is shown with two decimals is judged with two.
            return aim, round(figure, 2) <= limit, why
        return None


def figure(value, unit):
    if unit == "ns":
        for limit, name in ((1e9, "s"), (1e6, "ms"), (1e3, "µs")):
            if value >= limit:
                return f"{value / limit:.3g} {name}"
        return f"{value:.3g} ns"
    return (f"{value:,.0f}" if value >= 100 else f"{value:.3g}") + (f" {unit}" if unit else "")


def ratio_text(value):
    if value >= 10:
        return f"{value:.0f}"
    return f"{value:.2f}" if value >= 0.1 else f"{value:.2g}"


def print_table(paths, aims):
    for path in paths:
        for result in read(path):
            cells = []
            for rival in result.rivals:
                aim = aims.of(result, rival)
                mark = "" if aim is None else f" (<= {aim[0]}{'' if aim[1] else ', MISSED'})"
                cells.append(f"{rival} {ratio_text(result.ratio(rival))}{mark}")
            ours = figure(result.ours, result.unit)
            print(f"{result.case:<38} {ours:>14}   {'   '.join(cells)}")


# --- the page ---


def command_output(*words):
    return subprocess.run(words, capture_output=True, text=True, check=True).stdout


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        names = re.findall(r"^model name\s*:\s*(.*)$", file.read(), re.MULTILINE)
    return f"{names[0] if names else os.uname().machine}, {os.cpu_count()} processors"


def compiler_and_flags(build):
    with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as file:
        commands = json.load(file)
    words = next(c["command"] for c in commands if c["file"].endswith("checksums.cpp")).split()
    flags = [w for w in words if re.match(r"-(O|D|f|m|std)", w) and "/" not in w]
    return command_output(words[0], "--version").splitlines()[0], " ".join(flags)


def table_of(results, aims):
    lines = ["| Case | Ours | Beside: ratio (aim) |", "|---|---:|---|"]
    for result in results:
        cells = []
        for rival in result.rivals:
            aim = aims.of(result, rival)
            text = ratio_text(result.ratio(rival))
            if aim is not None and not aim[1]:
                text = f"**{text}**"
            if aim is not None:
                text += f" (≤ {aim[0]})"
            cells.append(f"{rival} {text}")
        lines.append(f"| `{result.case}` | {figure(result.ours, result.unit)} | "
                     f"{' · '.join(cells)} |")
    return lines


def aims_reached(results, aims):
    judged = [(r, rival, aims.of(r, rival)) for r in results for rival in r.rivals]
    judged = [(r, rival, aim) for r, rival, aim in judged if aim is not None]
    return sum(aim[1] for _, _, aim in judged), len(judged)


def missed_aims(results, aims):
    """A line for each reason, with the cases that it keeps from their aims."""
    by_reason = {}
    for result in results:
        for rival in result.rivals:
            aim = aims.of(result, rival)
            if aim is not None and not aim[1]:
                missed = (figure(result.ours, result.unit) if aim[0].startswith("ours")
                          else f"{ratio_text(result.ratio(rival))} of {rival}")
                words = f"`{result.case}` {missed} (≤ {aim[0]})"
                by_reason.setdefault(aim[2] or "No reason is known.", []).append(words)
    if not by_reason:
        return []
    lines = ["## What misses its aim, and why", ""]
    for reason, cases in by_reason.items():
        lines += [*textwrap.wrap(f"- {', '.join(cases)}: {reason}", 100, subsequent_indent="  ")]
    return [*lines, ""]


SIZES = {"KiB": 1 << 10, "MiB": 1 << 20}


def growing(results, group, pattern, is_each):
    """Size, result and scale of the cases that fit the pattern, by the size in it. With `is_each`
    a figure is shown for each of so many, else as it is."""
    found = []
    for result in results:
        match = re.fullmatch(pattern, result.case)
        if result.group != group or match is None:
            continue
        size = float(match[1]) * SIZES.get(match[2] if match.re.groups > 1 else "", 1)
        found.append((size, result, 1 / size if is_each else 1))
    return sorted(found, key=lambda item: item[0])


def lines_of(found, rivals):
    series = [("ours", [(size, r.ours * scale) for size, r, scale in found])]
    for rival in rivals:
        points = [(size, r.rivals[rival] * scale) for size, r, scale in found if rival in r.rivals]
        if points:
            series.append((rival, points))
    return series


def growth_words(found, rival, limit):
    """At which sizes we take more than `limit` times a rival's time."""
    over = [size for size, result, _ in found if result.ratio(rival) > limit]
    last_size, last, _ = found[-1]
    end = f"{ratio_text(last.ratio(rival))} at {plot.short_number(last_size)}"
    if not over:
        return f"beside {rival} that costs at most {limit:g} times the time ({end})"
    words = f"that costs more than {limit:g} times the time of {rival} ({end})"
    if over == [size for size, _, _ in found][-len(over):]:
        return f"from {plot.short_number(over[0])} on {words}"
    return f"at {', '.join(plot.short_number(size) for size in over)} {words}"


# name, title, label of x, label of y, group, cases, whether each of so many is shown, rivals,
# sentence with the rival and the limit that it speaks of
PLOTS = (
    ("snapshot", "A snapshot of the processes", "processes", "ns a process", "snapshot",
     r"snapshot/(\d+)", True, ("C loop", "libproc2"),
     "Each process costs four system calls, and the kernel has nearly all of the time", "C loop",
     1.15),
    ("list_append", "Appending to the list of text", "elements", "ns an element", "list",
     r"append/(\d+)", True, ("std::vector",),
     "The block grows by one element of 1,006 bytes and may move each time", "std::vector", 10),
    ("list_sort", "Sorting the list of text", "elements", "ns an element", "list",
     r"sort/(\d+)", True, ("std::stable_sort",),
     "A bubble sort that moves whole elements is quadratic", "std::stable_sort", 10),
    ("buffer_append", "append() of 1000 bytes at a time", "bytes", "ns a byte", "buffer",
     r"append/piece:1000/total:(\d+)", True, ("std::vector", "std::string"),
     "The block grows to exactly what is needed, so that each call may move it", "std::vector", 2),
    ("buffer_write", "write() of 1000 bytes at a time", "bytes", "ns a byte", "buffer",
     r"write/piece:1000/total:(\d+)", True, ("std::vector", "std::string"),
     "The block grows by 10,240 bytes beyond the need, so that one call in eleven may move it",
     "std::vector", 2),
    ("search_1mib", "Search at the end of 1 MiB of English", "bytes looked for", "ns", "buffer",
     r"lengthInData/(\d+)", False, ("memmem", "std::string"),
     "Two tables are made for each search, and the longer the text, the farther it skips", "memmem", 1),
    ("search_4kib", "Search at the end of 4 KiB of English", "bytes looked for", "ns", "buffer",
     r"lengthInPage/(\d+)", False, ("memmem", "std::string"),
     "In little data the two tables, made for each search, weigh most", "std::string",
     2),
    ("copy", "Copying a file in memory", "bytes", "ns a byte", "files",
     r"copy of (\d+) (KiB|MiB)", True, ("copy_file", "cp"),
     "The bytes go through a buffer of at most 512 KiB, and so are copied twice", "copy_file", 1.3),
)


def write_plots(results, figures):
    lines = ["## Growth", "",
             "Both axes are logarithmic. Below each plot stands what the required rule costs, and "
             "from which", "size on it hurts.", ""]
    for (name, title, x_label, y_label, group, pattern, is_each, rivals, sentence, rival,
         limit) in PLOTS:
        found = growing(results, group, pattern, is_each)
        if len(found) < 2:
            continue
        with open(os.path.join(figures, name + ".svg"), "w", encoding="utf-8") as file:
            file.write(plot.line_plot(title, x_label, y_label, lines_of(found, rivals)))
        words = f"{sentence}; {growth_words(found, rival, limit)}."
        lines += [f"![{title}](figures/{name}.svg)", "", *textwrap.wrap(words, 100), ""]
    return lines


def result_files(folder):
    return sorted(os.path.join(folder, file) for file in os.listdir(folder)
                  if file.endswith((".json", ".tsv")))


def write_page(folder, aims):
    files = result_files(folder)
    results = [result for file in files for result in read(file)]
    compiler, flags = compiler_and_flags(os.path.dirname(folder))
    newest = max(os.path.getmtime(file) for file in files)
    figures = os.path.join(PROJECT, "docs", "figures")
    os.makedirs(figures, exist_ok=True)
    lines = [
        "# Performance", "",
        *textwrap.wrap(
            "Written by `scripts/bench --page`. Every figure stands beside what a user would pick "
            "instead: the ratio of our median to its median within one run, in which both took "
            "turns. Below 1 means ahead. An aim stands in brackets (`bench/aims.txt`); one that "
            "begins with \"ours\" limits our own figure. A ratio that misses its aim is **bold**. "
            "Times depend on the machine and on what else it does, ratios much less. On another "
            "machine `scripts/bench`, then `scripts/bench --compare`, names the cases that are "
            "ahead of a rival there and behind it here, or the reverse.", 100), "",
        f"- Processor: {processor()}",
        f"- System: Linux {os.uname().release}",
        f"- Compiler: {compiler}",
        f"- Flags: `{flags}`",
        f"- Date: {time.strftime('%d %B %Y', time.localtime(newest))}", "",
        "| Group | Aims reached |", "|---|---:|",
    ]
    sections = []
    for group, title in GROUPS.items():
        of_group = [result for result in results if result.group == group]
        if not of_group:
            continue
        reached, judged = aims_reached(of_group, aims)
        lines.append(f"| [{title}](#{group}) | {f'{reached} of {judged}' if judged else ''} |")
        sections += [f'## <a id="{group}"></a>{title}', "", *table_of(of_group, aims), ""]
    lines += ["", *missed_aims(results, aims), *write_plots(results, figures), *sections]
    with open(os.path.join(PROJECT, "docs", "performance.md"), "w", encoding="utf-8") as file:
        file.write("\n".join(lines).rstrip() + "\n")


# --- the page beside another run ---


def ratios_of_page(text):
    """The ratios on the page by group, case and rival."""
    ratios, group = {}, ""
    for line in text.splitlines():
        group = (re.findall(r'^## <a id="(\w+)">', line) or [group])[0]
        row = re.fullmatch(r"\| `(.*)` \| [^|]* \| (.*) \|", line)
        for cell in row[2].split(" · ") if row else []:
            rival, ratio = re.match(r"(.*?) \**([\d.e-]+)\**(?: \(≤.*)?$", cell).groups()
            ratios[group, row[1], rival] = float(ratio)
    return ratios


def compare(folder):
    page = ratios_of_page(command_output("git", "-C", PROJECT, "show", "HEAD:docs/performance.md"))
    now = {(r.group, r.case, rival): r.ratio(rival)
           for file in result_files(folder) for r in read(file) for rival in r.rivals}
    both = [key for key in now if key in page]
    if not both:
        print("there are no results of a case on the page: measure first")
        return 2
    # Within a twentieth of even, which side a ratio is on is left to chance.
    changed = [key for key in both
               if min(page[key], now[key]) < 0.95 and max(page[key], now[key]) > 1.05]
    for group, case, rival in changed:
        print(f"{group} {case}, beside {rival}: {ratio_text(page[group, case, rival])} on the page, "
              f"now {ratio_text(now[group, case, rival])}")
    apart = sorted(max(page[key] / now[key], now[key] / page[key]) - 1 for key in both)
    print(f"{len(both)} ratios, {len(changed) or 'none'} changed sides; "
          f"9 in 10 within {apart[len(apart) * 9 // 10]:.0%}")
    return 1 if changed else 0


def main(words):
    if len(words) >= 2 and words[0] == "table":
        print_table(words[1:], Aims())
    elif len(words) == 2 and words[0] == "page":
        write_page(os.path.abspath(words[1]), Aims())
    elif len(words) == 2 and words[0] == "compare":
        return compare(words[1])
    else:
        print(__doc__)
        return 0 if words in (["-h"], ["--help"]) else 2
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
