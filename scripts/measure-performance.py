#!/usr/bin/env python3
"""Measures what docs/performance.md shows, and prints its tables in markdown.

    scripts/measure-performance.py [--write] [--quick] [--only steps|scaling|profile]

With --write the tables go into docs/performance.md, between their marks. --quick takes smaller towns and fewer
repetitions, to see that all works. The programs are those of build/release; all of it takes some five minutes. The
profile needs valgrind. Times on a shared machine differ by a third from run to run; ratios stand within one run."""
import argparse
import json
import os
import platform
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..')
BUILD = os.path.join(ROOT, 'build', 'release')
PAGE = os.path.join(ROOT, 'docs', 'performance.md')
WEATHERS = ['wet', 'dry', 'still']

KINDS = [('kindLand', 'subcatchment'), ('kindUnit/cell', 'bio-retention cell'), ('kindUnit/garden', 'rain garden'),
         ('kindUnit/roof', 'green roof'), ('kindUnit/trench', 'infiltration trench'),
         ('kindUnit/pavement', 'permeable pavement'), ('kindUnit/barrel', 'rain barrel'),
         ('kindUnit/swale', 'swale'), ('kindTank', 'tank with pump, orifice and weir'),
         ('kindConduit/circular', 'conduit, circular'), ('kindConduit/rectangular', 'conduit, rectangular'),
         ('kindConduit/irregular', 'conduit, irregular'), ('kindReactor', 'stirred reactor'),
         ('kindTown', 'subcatchment, junction and pipe')]
TOWNS = [('storm', 'the storm and two hours after it'), ('dry', 'dry, buildup grows'),
         ('none', 'nothing changes any more'),
         ('year', 'five days of a year')]


def run(words, **options):
    done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **options)
    if done.returncode != 0:
        said = done.stderr.decode(errors='replace')[-2000:]
        sys.exit('%s ended with %d:\n%s' % (' '.join(words), done.returncode, said))
    return done.stdout.decode(errors='replace')


def program(name):
    path = os.path.join(BUILD, name)
    if not os.path.exists(path):
        sys.exit(path + " isn't there: cmake --build --preset release")
    return path


def describe_machine():
    words = {}
    for line in run(['lscpu'], env={**os.environ, 'LC_ALL': 'C'}).splitlines():
        key, _, value = line.partition(':')
        words[key.strip()] = value.strip()
    cache = ', '.join('%s %s' % (name.replace(' cache', ''), re.sub(r' \(.*', '', words[name]))
                      for name in ('L1d cache', 'L2 cache', 'L3 cache') if name in words)
    with open(os.path.join(BUILD, 'CMakeCache.txt')) as file:
        found = re.search(r'^CMAKE_CXX_COMPILER:\w+=(.*)$', file.read(), re.M)
    text = run([found.group(1), '--version'])
    compiler = '%s %s' % ('gcc' if 'Free Software' in text else 'clang',
                          run([found.group(1), '-dumpfullversion', '-dumpversion']).strip())
    return ('One thread of %s, %s processors (caches of all: %s), %s, preset `release`.\n'
            % (words.get('Model name', platform.machine()), words.get('CPU(s)', '?'), cache, compiler))


def benchmark(pattern):
    with tempfile.NamedTemporaryFile(suffix='.json') as file:
        run([program('tarnvelde_bench'), '--benchmark_filter=' + pattern, '--benchmark_out=' + file.name,
             '--benchmark_out_format=json'])
        rows = json.load(file)['benchmarks']
    for row in rows:
        if row.get('error_occurred'):
            sys.exit('%s: %s' % (row['name'], row['error_message']))
    return {re.sub(r'/iterations:.*|/manual_time', '', row['name']): row for row in rows}


def cell(value):
    return '-' if value is None else '%.0f' % value


def three(row, engine='engine ns', bare='bare ns'):
    if row is None:
        return '| - | - | - '
    ratio = '%.2f' % row['ratio'] if 'ratio' in row else '-'
    return '| %s | %s | %s ' % (cell(row.get(engine)), cell(row.get(bare)), ratio)


def tell_kinds(rows, size, weathers, out):
    out.append('| By object and step, N = %s | %s |' % (
        '{:,}'.format(size), ' | '.join('%s: engine, ns | bare, ns | ratio' % w for w in weathers)))
    out.append('|---|' + '--:|' * (3 * len(weathers)))
    for name, words in KINDS:
        found = [rows.get('%s/N:%d/weather:%d' % (name, size, WEATHERS.index(w))) for w in weathers]
        if any(found):
            out.append('| %s %s|' % (words, ''.join(three(row) for row in found)))
    out.append('')


def tell_network(rows, out):
    out.append('| Junction with its pipe, by step | pollutants | engine, ns | bare, ns | ratio |')
    out.append('|--:|--:|--:|--:|--:|')
    found = [(re.match(r'ratioNetwork/N:(\d+)/P:(\d+)', name), row) for name, row in rows.items()]
    sizes = [(int(match.group(1)), int(match.group(2)), row) for match, row in found if match]
    for size, pollutants, row in sorted(sizes, key=lambda entry: entry[:2]):
        out.append('| {:,} | {} {}|'.format(size, pollutants, three(row, 'library ns', 'bound ns')))
    out.append('')


def tell_towns(rows, out):
    out.append('| Town, by subcatchment and step | N | engine, ns | plain town, ns |')
    out.append('|---|--:|--:|--:|')
    for name, words in TOWNS:
        for size in (1000, 10000):
            full, plain = rows.get('stepTown/%s/N:%d' % (name, size)), rows.get('stepTown/plain_%s/N:%d' % (name, size))
            if full:
                cells = cell(full['engine ns']), cell(plain and plain['engine ns'])
                out.append('| {} | {:,} | {} | {} |'.format(words, size, *cells))
    out.append('')


def measure_steps(is_quick):
    pattern = ('^kind.*N:1000/|^stepTown.*N:1000/|ratioNetwork/N:1000/P:(0|4)' if is_quick
               else '^kind|^stepTown|ratioNetwork/N:(1000|100000)/P:(0|1|4)/')
    rows = benchmark(pattern)
    out = [describe_machine()]
    tell_kinds(rows, 1000, WEATHERS, out)
    if not is_quick:
        tell_kinds(rows, 30000, WEATHERS[:2], out)
    tell_network(rows, out)
    tell_towns(rows, out)
    return out


def measure_scaling(is_quick):
    words = ['1000', '4000', '2'] if is_quick else ['1000', '32000', '5']
    return run([program('tarnvelde_scaling')] + words).splitlines() + ['']


def read_profile(path):
    """Share and name of the functions with most instructions of their own."""
    rows = []
    for line in run(['callgrind_annotate', '--threshold=100', path]).splitlines():
        found = re.match(r'\s*([\d,]+)(?:\s*\([\s\d.]+%\))?\s+(\S.*)$', line)
        if found and ':' in found.group(2):
            name = found.group(2).split(':', 1)[1]
            name = re.sub(r"<.*|\(.*|\[.*|@@.*|\.(?:constprop|isra|part|lto_priv|cold)\S*|'\d+", '', name)
            rows.append((int(found.group(1).replace(',', '')), (name.split() or ['?'])[-1]))
    total = sum(count for count, _ in rows)
    sums = {}
    for count, name in rows:
        sums[name] = sums.get(name, 0) + count
    return sorted(((count / total, name) for name, count in sums.items()), reverse=True)


def profile(weather, size, days, folder):
    project = os.path.join(folder, weather + '.inp')
    run([program('tarnvelde_town'), '1', str(size), '--weather', weather, '--days', str(days), project])
    path = os.path.join(folder, weather + '.callgrind')
    run(['valgrind', '--tool=callgrind', '--callgrind-out-file=' + path, program('tarnvelde'), 'run', '--quiet',
         project])
    return read_profile(path)


def measure_profile(is_quick):
    if not shutil.which('valgrind'):
        return ['Not taken: valgrind is missing.', '']
    size = 50 if is_quick else 400
    head = '| Share of all instructions, a day of %d subcatchments | storm, %% | dry, %% | nothing changes, %% |'
    out = [head % size,
           '|---|--:|--:|--:|']
    with tempfile.TemporaryDirectory() as folder:
        shares = {weather: {name: share for share, name in profile(weather, size, 1, folder)}
                  for weather in ('storm', 'dry', 'none')}
    names = sorted({name for table in shares.values() for name in table},
                   key=lambda name: -max(table.get(name, 0) for table in shares.values()))
    for name in names[:24]:
        out.append('| `%s` | %s |' % (name, ' | '.join('%.1f' % (100 * shares[weather].get(name, 0))
                                                       for weather in ('storm', 'dry', 'none'))))
    return out + ['']


def write(name, lines):
    with open(PAGE) as file:
        text = file.read()
    begin, end = '<!-- %s -->\n' % name, '<!-- end of %s -->\n' % name
    if begin not in text or end not in text:
        sys.exit('docs/performance.md has no marks for ' + name)
    before, after = text.split(begin)[0], text.split(end)[1]
    with open(PAGE, 'w') as file:
        file.write(before + begin + '\n' + '\n'.join(lines).rstrip('\n') + '\n\n' + end + after)


def main():
    parts = {'steps': measure_steps, 'scaling': measure_scaling, 'profile': measure_profile}
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--write', action='store_true')
    parser.add_argument('--quick', action='store_true')
    parser.add_argument('--only', choices=list(parts))
    options = parser.parse_args()
    for name, measure in parts.items():
        if options.only in (None, name):
            lines = measure(options.quick)
            if options.write:
                write(name, lines)
            else:
                print('\n'.join(lines))


if __name__ == '__main__':
    main()
