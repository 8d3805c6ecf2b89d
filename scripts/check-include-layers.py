#!/usr/bin/env python3
"""Fails when the folders of the SDK's sources include each other in a loop.

Reads every `#include "folder/..."` line of the files under sdk/src (or the
directory given as the first argument), where `folder` is one of its
subfolders, and builds the graph "folder A includes a header of folder B".
Any loop in that graph (A includes B, B includes ... A) is printed with one
include line per step, and the script exits with status 1. Without loops it
prints the folders in an order where each comes after everything it
includes, and exits with status 0.

The intended order, lower never including higher:
  core < logging < genapi < (codecs, image, processing) < transport < virtual
  < camera < acquisition < system
"""

import os
import re
import sys

# Loops tolerated while the work that removes them is under way: each entry is
# the set of folders of one loop, exactly; a loop that differs from every
# entry (another folder joined it, or a new loop) still fails. Empty: the SDK's
# folders include each other in no loop.
KNOWN_LOOPS = []

INCLUDE = re.compile(r'^\s*#\s*include\s+"([A-Za-z0-9_]+)/[^"]+"')
SOURCE_SUFFIXES = (".h", ".hpp", ".inc", ".c", ".cc", ".cpp")


def read_graph(root):
    """Returns {folder: {included folder: (file, line number, line)}}."""
    folders = sorted(d for d in os.listdir(root) if os.path.isdir(os.path.join(root, d)))
    graph = {f: {} for f in folders}
    for folder in folders:
        for dirpath, _, files in os.walk(os.path.join(root, folder)):
            for name in sorted(files):
                if not name.endswith(SOURCE_SUFFIXES):
                    continue
                path = os.path.join(dirpath, name)
                with open(path, encoding="utf-8", errors="replace") as f:
                    for number, line in enumerate(f, 1):
                        m = INCLUDE.match(line)
                        if not m:
                            continue
                        target = m.group(1)
                        if target == folder or target not in graph:
                            continue
                        graph[folder].setdefault(target, (os.path.relpath(path, root), number, line.strip()))
    return graph


def strongly_connected(graph):
    """Tarjan's algorithm; returns the components with more than one folder."""
    index, low, on_stack, stack, result = {}, {}, set(), [], []
    counter = [0]

    def visit(v):
        index[v] = low[v] = counter[0]
        counter[0] += 1
        stack.append(v)
        on_stack.add(v)
        for w in sorted(graph[v]):
            if w not in index:
                visit(w)
                low[v] = min(low[v], low[w])
            elif w in on_stack:
                low[v] = min(low[v], index[w])
        if low[v] == index[v]:
            component = set()
            while True:
                w = stack.pop()
                on_stack.discard(w)
                component.add(w)
                if w == v:
                    break
            if len(component) > 1:
                result.append(component)

    for v in sorted(graph):
        if v not in index:
            visit(v)
    return result


def a_loop(graph, component):
    """One loop through the component, as a list of folders ending where it starts."""
    start = min(component)
    path, seen = [start], {start}

    def walk(v):
        for w in sorted(graph[v]):
            if w not in component:
                continue
            if w == start:
                return True
            if w not in seen:
                seen.add(w)
                path.append(w)
                if walk(w):
                    return True
                path.pop()
        return False

    walk(start)
    return path + [start]


def layers(graph):
    """Folders grouped by level: a folder includes only folders of lower
    levels (the folders of a tolerated loop share one level)."""
    group = {v: frozenset([v]) for v in graph}
    for component in strongly_connected(graph):
        for v in component:
            group[v] = frozenset(component)
    level = {}

    def depth(g):
        if g not in level:
            below = {group[w] for v in g for w in graph[v]} - {g}
            level[g] = max((depth(h) + 1 for h in below), default=0)
        return level[g]

    by_level = {}
    for g in set(group.values()):
        by_level.setdefault(depth(g), []).extend(g)
    return [sorted(by_level[d]) for d in sorted(by_level)]


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "..", "sdk", "src")
    root = os.path.normpath(root)
    if not os.path.isdir(root):
        print(f"check-include-layers: {root} is not a directory", file=sys.stderr)
        return 2
    graph = read_graph(root)
    failed = False
    for component in strongly_connected(graph):
        loop = a_loop(graph, component)
        known = component in KNOWN_LOOPS
        print(("known include loop (tolerated): " if known else "include loop: ") + " -> ".join(loop))
        if len(component) > len(loop) - 1:
            print("  folders caught in loops with it: " + ", ".join(sorted(component)))
        for a, b in zip(loop, loop[1:]):
            path, number, line = graph[a][b]
            print(f"  {a} -> {b}: {path}:{number}: {line}")
        if not known:
            failed = True
    if failed:
        print("check-include-layers: the folders of", root, "include each other in a loop", file=sys.stderr)
        return 1
    print("layers (each includes only those before it): " + " < ".join(", ".join(g) for g in layers(graph)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
