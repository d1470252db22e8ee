#!/usr/bin/env python3
"""bench/team_model.py [--times FILE]: how many cores a team needs, by a model of its queue.

A discrete-event model: works come in at random moments of a working day, wait in one line, and are judged
in their order by so many cores. What a work takes of a core is what one was measured to take on average, and
from work to work it differs as the measured ones did (bench/team_scale.py throughput --times FILE). What it
assumes is printed beside what it finds, and every assumption is an option. It needs nothing but Python, and
the same --seed gives the same table.
"""

import argparse
import heapq
import json
import pathlib
import random


def arrivals(chance, works, hours, peak):
    """Moments in seconds. In two hours of the day, the peaks, `peak` times as much comes in as in others."""
    weights = [peak if hour in (hours // 4, 3 * hours // 4) else 1.0 for hour in range(hours)]
    of_hours = chance.choices(range(hours), weights, k=works)
    return sorted(hour * 3600 + chance.random() * 3600 for hour in of_hours)


def simulate(moments, takes, cores):
    """What each work waited, in seconds, the longest line, and how busy the cores were in the busiest hour."""
    free = [0.0] * cores  # when each core is free again
    begun = []  # of those that wait, when they will begin
    waits, longest = [], 0
    busy = {}
    for moment, takes_seconds in zip(moments, takes):
        start = max(moment, heapq.heappop(free))
        heapq.heappush(free, start + takes_seconds)
        while begun and begun[0] <= moment:
            heapq.heappop(begun)
        if start > moment:
            heapq.heappush(begun, start)
        longest = max(longest, len(begun))
        waits.append(start - moment)
        hour = int(start // 3600)
        busy[hour] = busy.get(hour, 0.0) + takes_seconds
    return waits, longest, max(busy.values()) / (3600 * cores)


def quantile(values, which):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(which * len(ordered)))]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--times", help="what bench/team_scale.py measured")
    parser.add_argument("--people", type=int, default=10_000)
    parser.add_argument("--grades", type=int, default=20, help="a day and person")
    parser.add_argument("--hours", type=int, default=8, help="of the working day, all in one time zone")
    parser.add_argument("--peak", type=float, default=2.0, help="the two busiest hours against the others")
    parser.add_argument("--slower", type=float, default=1.0, help="how much longer works take than measured")
    parser.add_argument("--good", type=float, default=5.0, help="seconds that 99 %% may wait at most")
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    if not options.times:
        raise SystemExit("team_model.py: measure first: bench/team_scale.py throughput --times FILE")
    measured = json.loads(pathlib.Path(options.times).read_text(encoding="utf-8"))
    times = measured["milliseconds"]
    times = [each * measured["processor_seconds"] / (sum(times) / len(times)) for each in times]
    chance = random.Random(options.seed)
    works = options.people * options.grades
    moments = arrivals(chance, works, options.hours, options.peak)
    takes = [chance.choice(times) * options.slower for _ in moments]
    peak_hour = max(sum(1 for m in moments if hour * 3600 <= m < hour * 3600 + 3600) for hour in range(options.hours))
    mean = sum(takes) / len(takes)
    print(f"assumed: {options.people:,} people, {options.grades} grades each in {options.hours} hours of one time zone, "
          f"two hours of which have {options.peak:g} times as much ({peak_hour:,} works in the busiest); works come "
          "one by one and independently; each takes a core for "
          f"{mean:.2f} s on average, {options.slower:g} times what was measured, and differs as {len(times)} measured "
          f"ones did; no core fails; the database is not what they "
          f"wait for; seed {options.seed}")
    least = max(1, int(peak_hour * mean / 3600))
    print("| cores | busy in the busiest hour | waited, median | 99 % | longest | longest line |\n|---|---|---|---|---|---|")
    found = None
    cores = least
    while found is None or cores <= found + 2:
        waits, line, busy = simulate(moments, takes, cores)
        late = quantile(waits, 0.99)
        if found is None and late <= options.good:
            found = cores
        print(f"| {cores} | {busy:.0%} | {quantile(waits, 0.5):.1f} s | {late:.1f} s | {max(waits):.1f} s | {line:,} |")
        cores += 1
    print(f"so that 99 % wait no longer than {options.good:g} s: {found} cores")


main()
