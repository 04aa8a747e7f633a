#!/usr/bin/env python3
"""Counts the branches of the sources of a folder that a build with --coverage has taken.

    count-branches.py BUILD FOLDER [--missing]

Counted is what somebody has written. The compiler adds branches for exceptions, more than there are others: each call
that may throw has one, and the clearing up behind them asks what is there to be cleared up. gcov marks the former, and
the blocks that nothing but an exception reaches; a handler goes with them. What several objects hold of a source, as
the program and its tests do, counts as taken if it is in any of them. --missing shows the lines that have others."""
import argparse
import collections
import glob
import json
import os
import re
import subprocess
import tempfile


def run_gcov(options, file, build):
    command = ['gcov', '--stdout', '--branch-probabilities', '--branch-counts', *options, file]
    done = subprocess.run(command, cwd=build, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                          errors='replace')
    return done.stdout


def list_blocks(notes, build):
    """Per source and line, for each branch whether its block is one for exceptions. Without counts all blocks are
    marked as not run, those for exceptions by other signs."""
    blocks = collections.defaultdict(list)
    source = line = mark = ''
    with tempfile.TemporaryDirectory() as folder:
        os.symlink(notes, os.path.join(folder, os.path.basename(notes)))
        text = run_gcov(['--all-blocks'], os.path.join(folder, os.path.basename(notes)), build)
    for row in text.splitlines():
        if head := re.match(r' *-: *0:Source:(.*)', row):
            source = os.path.normpath(os.path.join(build, head[1]))
        elif head := re.match(r' *([^:]+): *(\d+)[-:]', row):
            mark, line = head[1], int(head[2])
        elif row.startswith('branch '):
            blocks[source, line].append(mark == '$$$$$')
    return blocks


def add_counts(data, build, folder, taken):
    """Adds the counts of one object to `taken`: per source and line, those of its branches in their order."""
    blocks = list_blocks(data[:-len('gcda')] + 'gcno', build)
    for file in json.loads(run_gcov(['--json-format'], data, build))['files']:
        source = os.path.normpath(os.path.join(build, file['file']))
        lines = collections.defaultdict(list)  # a template has its lines once for each of its instances
        for line in file['lines'] if source.startswith(folder + os.sep) else []:
            lines[line['line_number']] += line['branches']
        for number, branches in lines.items():
            marks = blocks[source, number]
            assert len(marks) == len(branches), source
            ends = [branch['throw'] for branch in branches] + [False]
            counts = [branch['count'] for k, branch in enumerate(branches)
                      if not (marks[k] or ends[k] or ends[k + 1] and branch['fallthrough'])]
            before = taken[source].setdefault(number, [0] * len(counts))
            before += [0] * (len(counts) - len(before))
            for k, count in enumerate(counts):
                before[k] += count


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('build')
    parser.add_argument('folder')
    parser.add_argument('--missing', action='store_true')
    arguments = parser.parse_args()
    build, folder = os.path.abspath(arguments.build), os.path.abspath(arguments.folder)
    taken = collections.defaultdict(dict)
    for data in glob.glob(build + '/**/*.gcda', recursive=True):
        add_counts(data, build, folder, taken)
    total = [0, 0]
    for source, lines in sorted(taken.items()):
        counts = [count for line in lines.values() for count in line]
        figures = [sum(count > 0 for count in counts), len(counts)]
        total = [total[0] + figures[0], total[1] + figures[1]]
        print('%-32s %5d of %5d  %5.1f %%' % (os.path.relpath(source), *figures, 100 * figures[0] / max(figures[1], 1)))
        with open(source, encoding='utf-8') as file:
            text = file.read().splitlines()
        for number, line in sorted(lines.items()) if arguments.missing else []:
            if 0 in line:
                print('  %4d %-8s %s' % (number, ''.join('-+'[count > 0] for count in line), text[number - 1].strip()))
    print('%-32s %5d of %5d  %5.1f %%' % ('all', *total, 100 * total[0] / max(total[1], 1)))


if __name__ == '__main__':
    main()
