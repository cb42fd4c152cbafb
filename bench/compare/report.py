"""Prints the tables in Markdown, and draws the chart."""

import statistics
import subprocess

from cases import LIBRARY, PEERS

BEGIN, END = "<!-- results: begin -->", "<!-- results: end -->"


def spread(times):
    """Returns half the interquartile range."""
    if len(times) < 2:
        return 0
    low, _, high = statistics.quantiles(times, n=4, method="inclusive")
    return (high - low) / 2


def cell(times, bare):
    """Returns the median in nanoseconds, its spread, and the ratio to the bare write."""
    digits = 0 if bare else 1
    median = statistics.median(times)
    text = f"{median:.{digits}f} ± {spread(times):.{digits}f}"
    return f"{text} (**{median / bare:.2f}**)" if bare else text


class Table:
    """A table whose rows are printed as soon as they are measured, line by line, by `say`."""

    def __init__(self, say, title, cases):
        self.say = say
        contestants = {each for case in cases for each in case.contestants}
        bare = ["bare"] if any(case.writes() for case in cases) else []
        self.columns = bare + [each for each in ["cached", LIBRARY, *PEERS] if each in contestants]
        say(f"\n### {title}\n")
        say(f"| case | goal | {' | '.join(self.columns)} |")
        say("|---" * (len(self.columns) + 2) + "|")

    def add(self, case, times, size):
        """Adds {contestant: [nanoseconds]}; returns [(case, contestant, ratio to the bare write)]."""
        bare = statistics.median(times["bare"]) if case.writes() else None
        title = f"{case.title}, {size} bytes" if size else case.title
        goal = f"{case.goal:.2f}" if bare else case.goal
        cells = [cell(times[each], bare) if each in times else "" for each in self.columns]
        self.say(f"| {title} | {goal} | {' | '.join(cells)} |")
        if not bare:
            return []
        return [(case, each, statistics.median(times[each]) / bare) for each in times]


def say_instructions(say, instructions):
    """Prints the instructions of the translated message, by contestant."""
    say("\n### User instructions of a translated message\n")
    say(f"| {' | '.join(instructions)} |")
    say("|---" * len(instructions) + "|")
    say(f"| {' | '.join(f'{count:,}' for count in instructions.values())} |")


def say_cold_starts(say, times):
    """Prints the milliseconds of theLogger()'s first call, measured in many new processes."""
    say("\n### A process's first call of theLogger()\n")
    say(f"{statistics.median(times):.2f} ± {spread(times):.2f} ms, in {len(times)} processes "
        "without component libraries; the goal is 3 ms.")


def say_budget(say, path):
    """Prints the counts of bench/budget.txt."""
    say("\n### Exact figures of this library, per record\n")
    say("| case | system calls | allocations | user instructions |")
    say("|---|--:|--:|--:|")
    for line in path.read_text().splitlines():
        name, *figures = line.split()
        if len(figures) == 3 and name != "#":
            say(f"| {name} | {' | '.join(figures)} |")
        elif name == "thread-bytes":
            say(f"\nA further thread that traces takes {int(figures[0]):,} bytes.")


def replace_results(path, text):
    """Replaces the text between the two marks of a document."""
    document = path.read_text()
    head, rest = document.split(BEGIN)
    path.write_text(head + BEGIN + "\n" + text + "\n" + END + rest.split(END)[1])


def draw(path, ratios):
    """Draws a bar of bare writes per record for each (case, contestant, ratio) of `ratios`."""
    rows, height, previous = [], 0.0, None
    for case, contestant, ratio in ratios:
        if contestant == "bare":
            continue
        height += 1 if case is previous else 1.6
        previous = case
        colour = "0x1f77b4" if contestant == LIBRARY else "0xb0b7bf"
        rows.append(f'"{case.title}: {contestant}" {height:.1f} {ratio:.3f} {colour}')
    rows = "\n".join(rows)
    script = f"""
set terminal svg size 900,{60 + 20 * height:.0f} font "sans-serif,12" background "white"
set output "{path}"
set style fill solid 0.9 noborder
set yrange [{height + 1:.1f}:0] noreverse
set xrange [0:*]
set xtics out nomirror
set ytics out nomirror
set grid xtics
set border 3
set xlabel "time per record, in bare writes of as many bytes"
set arrow from 1, graph 0 to 1, graph 1 nohead lc rgb "#444444" dt 2
unset key
$bars << END
{rows}
END
plot $bars using (0):2:(0):3:($2-0.4):($2+0.4):4:ytic(1) with boxxyerror lc rgb variable, \\
     $bars using 3:2:(sprintf("%.2f", $3)) with labels left offset 0.7
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)
