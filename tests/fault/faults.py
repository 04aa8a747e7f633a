#!/usr/bin/env python3
"""What `tarnvelde run` leaves behind when something fails that is no fault of its own.

    faults.py sizes|room|signals|memory|all PROGRAM [--refusals LIBRARY] [--points N]

sizes    no file can grow beyond a size
room     the disk is full (a small one in memory, mounted for this process alone)
signals  the process is interrupted or killed
memory   a request for memory is refused

Each is tried at N points, from the very first to one that comes too late to matter, for a binary file and a database,
where none stands yet and where one of an earlier run does. After each case the folder is looked through: what was whole
is whole, what is new is whole or says that it isn't, nothing lies about that isn't told of. Exit status 1 for a fault,
77 where nothing can be tried."""
import argparse
import os
import resource
import shutil
import signal
import sqlite3
import struct
import subprocess
import sys
import tempfile
import time

PIPES = 60
CLOSING = 28  # bytes of the closing block of a binary file
MOST_FAULTS_TOLD = 20
STOPPING = [signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGPIPE]
NAMES = {'binary': 'town.bin', 'database': 'town.db'}
IDENTITY = 'TarnveldeRun'
NO_MEMORY = 'tarnvelde: not enough memory'  # the only words of a process that finds none to clear up with
ABRUPT = ('killed', 'given up')
SKIPPED = 77  # exit status
POINTS = {'sizes': 40, 'room': 10, 'signals': 6, 'memory': 40}


class Fault(Exception):
    """Something that must not be."""


def expect(is_true, text):
    if not is_true:
        raise Fault(text)


# --- projects --------------------------------------------------------------------------------------------------------

def make_project(end, inflow, step):
    """A row of pipes whose inflows go up and down with the hours."""
    lines = ['[GENERAL]', 'START_DATE 2024/01/01', 'END_DATE 2024/01/01', 'END_TIME ' + end, 'ROUTING_STEP ' + step,
             'REPORT_STEP 0:01:00', '[POLLUTANTS]', 'NH4 0', '[OUTFALLS]', 'O', '[JUNCTIONS]']
    lines += ['J%d' % k for k in range(PIPES)] + ['[PIPES]']
    lines += ['P%d J%d %s NO 300 2 0.2 0' % (k, k, 'J%d' % (k + 1) if k + 1 < PIPES else 'O') for k in range(PIPES)]
    lines += ['[DWFS]'] + ['J%d FLOW %g DAY' % (k, inflow) for k in range(0, PIPES, 3)]
    lines += ['J0 NH4 20 ""', '[PATTERNS]', 'DAY HOURLY ' + ' '.join('0.5 1 1.5'.split() * 8), '']
    return '\n'.join(lines)


# --- what files hold -------------------------------------------------------------------------------------------------

def read(path):
    with open(path, 'rb') as file:
        return file.read()


def read_database(path):
    """Tables with their texts and rows, without the one that tells how the run went; that one apart."""
    connection = sqlite3.connect(path)
    try:
        expect(connection.execute('pragma integrity_check').fetchone()[0] == 'ok', path + ' is damaged')
        tables = {}
        for name, text in connection.execute("select name, sql from sqlite_master where type = 'table'").fetchall():
            tables[name] = (text, connection.execute('select * from "%s"' % name).fetchall())
        connection.execute('begin immediate')  # nobody holds a lock on it any more
    except sqlite3.Error as error:
        raise Fault('%s can\'t be read: %s' % (path, error)) from error
    finally:
        connection.close()
    run = dict(tables.pop(IDENTITY, ('', []))[1])
    return tables, run


def is_part_of_binary(part, whole):
    """Whether a binary file ends early, behind a whole report, and is the other one up to there."""
    if len(part) < CLOSING:
        return False
    names, codes, dates, records, count, _, magic = struct.unpack('<7i', part[-CLOSING:])
    all_records, all_count = struct.unpack('<7i', whole[-CLOSING:])[3:5]
    length = (len(whole) - CLOSING - all_records) // all_count
    return (part[:4] == whole[:4] == struct.pack('<i', magic) and records == all_records and 0 <= count <= all_count and
            (names, codes, dates) == struct.unpack('<7i', whole[-CLOSING:])[:3] and
            len(part) == records + count * length + CLOSING and part[:-CLOSING] == whole[:len(part) - CLOSING])


def is_part_of_database(part, whole):
    """The same of the tables of two databases."""
    if part.keys() != whole.keys():
        return False
    periods = max([row[0] for row in part['System'][1]], default=0)
    for name, (text, rows) in part.items():
        expected = whole[name][1]
        if 'Period' in text:
            place = 0 if name == 'System' else 1
            expected = [row for row in expected if row[place] <= periods]
        if text != whole[name][0] or rows != expected:
            return False
    return True


# --- a run and what it should leave ----------------------------------------------------------------------------------

class Sink:
    """One kind of results: the project, what a whole run leaves, and what an earlier one has left."""

    def __init__(self, kind, program, folder, is_long):
        self.kind, self.program, self.origin = kind, program, os.path.join(folder, kind)
        self.name = NAMES[kind]
        os.mkdir(self.origin)
        self.project = make_project('5:00' if not is_long else '12:00', 0.004, '0:01:00' if not is_long else '0:00:05')
        self.write_project(self.origin, make_project('2:00', 0.007, '0:01:00'))
        self.run_whole(self.origin)
        if kind == 'database':
            connection = sqlite3.connect(os.path.join(self.origin, self.name))
            connection.execute('create table Mine (Place text, Height float)')
            connection.execute("insert into Mine values ('weir', 1.25)")
            connection.commit()
            connection.close()
        self.old = self.look(self.origin)
        whole = os.path.join(folder, kind + '-whole')
        self.copy_old(whole)
        begin = time.monotonic()
        self.run_whole(whole)
        self.seconds = time.monotonic() - begin
        self.whole = self.look(whole)
        self.largest = sum(os.path.getsize(os.path.join(whole, name)) for name in os.listdir(whole))
        expect(self.whole != self.old and b'Continuity' in self.whole['report'], 'the whole run is none')

    def write_project(self, folder, text):
        with open(os.path.join(folder, 'town.inp'), 'w', encoding='ascii') as file:
            file.write(text)

    def copy_old(self, folder):
        """Files of an earlier run, and the project of the next one."""
        shutil.copytree(self.origin, folder, dirs_exist_ok=True)
        self.write_project(folder, self.project)

    def command(self, folder):
        target = ['--database'] if self.kind == 'database' else []
        return [self.program, 'run', os.path.join(folder, 'town.inp'), '--quiet'] + target

    def run_whole(self, folder):
        done = subprocess.run(self.command(folder), stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, check=False)
        expect(done.returncode == 0, 'a run without a fault ends with %d: %s' % (done.returncode, done.stderr))

    def look(self, folder):
        """What stands in the places of the files; None for what isn't there."""
        def get(name, reader):
            path = os.path.join(folder, name)
            return reader(path) if os.path.exists(path) else None
        seen = {'report': get('town.rpt', read)}
        if self.kind == 'binary':
            text = get('town.bin.run', read)
            seen['results'] = get(self.name, read)
            seen['run'] = dict(line.split(' ', 1) for line in text.decode().splitlines()) if text else {}
        else:
            seen['results'], seen['run'] = get(self.name, read_database) or (None, {})
            seen['mine'] = seen['results'].pop('Mine', None) if seen['results'] else None
        return seen

    def is_part(self, part):
        whole = self.whole['results']
        return is_part_of_binary(part, whole) if self.kind == 'binary' else is_part_of_database(part, whole)


    def tells_failure(self, seen):
        """Whether a binary file holds the code of a failure."""
        is_binary = self.kind == 'binary' and seen['results'] and len(seen['results']) >= CLOSING
        return is_binary and struct.unpack('<7i', seen['results'][-CLOSING:])[5] != 0


class Case:
    """A run into a folder of its own that meets a fault."""

    def __init__(self, sink, folder, is_old):
        self.sink, self.folder, self.is_old = sink, folder, is_old
        if is_old:
            sink.copy_old(folder)
        else:
            sink.write_project(folder, sink.project)
        nothing = {'report': None, 'results': None, 'run': {}, 'mine': None}
        self.before = sink.old if is_old else {key: nothing[key] for key in sink.old}

    def start(self, prepare=None, environment=None):
        def set_up():
            for number in STOPPING:  # whoever starts this may have had them ignored
                signal.signal(number, signal.SIG_DFL)
            if prepare:
                prepare()
        return subprocess.Popen(self.sink.command(self.folder), stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                                preexec_fn=set_up, env=dict(os.environ, **(environment or {})))

    def run(self, **options):
        process = self.start(**options)
        return self.end(process)

    def end(self, process, sent=None):
        """Waits for the run and looks at all that is there. Gives what became of it."""
        try:
            errors = process.communicate(timeout=120)[1].decode(errors='replace').strip()
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            raise Fault('the run hangs') from None
        status = process.returncode
        left = self.list_left()
        ending = self.classify(status, errors, sent)
        self.check_left(ending, left, errors)
        self.check_places(ending, errors)
        if ending in ABRUPT:
            self.check_next()
        return ending

    @staticmethod
    def classify(status, errors, sent):
        if status == 0:
            return 'done'
        if status == 1:
            expect(errors, 'it fails without a word')
            return 'given up' if errors == NO_MEMORY else 'failed'
        if sent and status == -sent:
            return 'killed'
        expect(sent and status == 128 + sent, 'it ends with %d: %s' % (status, errors))
        return 'nothing' if 'no file was written' in errors else 'stopped'

    def list_left(self):
        own = {'town.inp', 'town.rpt', self.sink.name} | ({'town.bin.run'} if self.sink.kind == 'binary' else set())
        return sorted(set(os.listdir(self.folder)) - own)

    def check_left(self, ending, left, errors):
        """Files that stand aside: readable, and told of. A killed run tells nothing."""
        aside = self.sink.name + '.part'
        if ending in ABRUPT:
            allowed = {'town.rpt.part', aside, aside + '-journal', self.sink.name + '-journal', 'town.bin.run.part'}
        else:
            allowed = {aside} if ending == 'failed' else set()
        expect(set(left) <= allowed, 'it leaves %s (%s): %s' % (', '.join(left), ending, errors))
        if aside not in left:
            return
        path = os.path.join(self.folder, aside)
        shown = subprocess.run([self.sink.program, 'results', path, '--summary'], stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, check=False)
        if ending in ABRUPT:
            is_cut = shown.returncode == 0 and b'has no closing block' in shown.stderr
            expect(is_cut or (shown.returncode, bool(shown.stderr)) in [(0, False), (1, True)],
                   'what is aside is neither read nor refused: %d %s' % (shown.returncode, shown.stderr))
            return
        expect(aside in errors, 'nothing is said of what is aside: ' + errors)
        expect(shown.returncode == 0 and shown.stdout, 'what is aside can\'t be read: %s' % shown.stderr)
        part = read(path) if self.sink.kind == 'binary' else read_database(path)[0]
        expect(self.sink.is_part(part), 'what is aside isn\'t the run up to some report')

    def check_places(self, ending, errors):
        now, old, whole = self.sink.look(self.folder), self.before, self.sink.whole
        if 'mine' in now:
            expect(now['mine'] == old['mine'], 'a table of the user is lost')
        if ending == 'done':
            expect(now['report'] == whole['report'], 'status 0, and the report is another')
            expect(now['results'] == whole['results'], 'status 0, and the results are others')
            # What a run is known by is left away where there is no room for it.
            is_told = now['run'] == whole['run'] or not now['run']
            expect(is_told, 'status 0, and the run is told otherwise: %s' % now['run'])
        elif ending == 'stopped':
            expect(now['report'] and b'Flow Routing Continuity' in now['report'], 'stopped without a report')
            expect(now['results'] and self.sink.is_part(now['results']), 'stopped without a part of the results')
            expect(now['run'].get('state') == 'stopped', 'stopped, and said to be %s' % now['run'])
        elif ending == 'nothing':
            expect(now == old, 'stopped ahead of its start, and something has changed')
        else:
            expect(now['report'] in (old['report'], whole['report']) or
                   (ending == 'failed' and b'ERROR' in now['report']), 'the report is no more what it was: ' + errors)
            if ending != 'killed' and (now['run'].get('state') in ('failed', 'stopped') or self.sink.tells_failure(now)):
                expect(self.sink.is_part(now['results']), 'the results of a run that failed aren\'t a part of it')
                return
            expect(now['results'] in (old['results'], whole['results']), 'the results are no more what they were')
            mates = {'old': old, 'whole': whole}['old' if now['results'] == old['results'] else 'whole']
            expect(now['run'] in (mates['run'], {}), 'the results are told to be of another run: %s' % now['run'])

    def check_next(self):
        """What a killed run has left is in nobody's way."""
        self.sink.run_whole(self.folder)
        expect(not self.list_left(), 'the next run leaves ' + ', '.join(self.list_left()))
        self.check_places('done', '')


# --- faults ----------------------------------------------------------------------------------------------------------

class Tally:
    """Counts cases by what became of them, and keeps the faults."""

    def __init__(self, fault):
        self.fault, self.endings, self.faults = fault, {}, []

    def take(self, words, work):
        try:
            ending = work()
        except Fault as fault:
            ending = 'FAULT'
            self.faults.append('%s: %s' % (words, fault))
        self.endings[ending] = self.endings.get(ending, 0) + 1

    def show(self, must):
        counts = ', '.join('%d %s' % (count, ending) for ending, count in sorted(self.endings.items()))
        for ending in must:
            if ending not in self.endings:
                self.faults.append('%s: none of the cases was %s, so nothing was tried' % (self.fault, ending))
        print('%s: %d cases: %s' % (self.fault, sum(self.endings.values()), counts))
        for fault in self.faults[:MOST_FAULTS_TOLD]:
            print('  ' + fault)
        return not self.faults


def spread(points, most):
    """Numbers from 0 up to beyond the largest that matters, the first ones close together."""
    return sorted({int(most * 1.15 * (k / (points - 1)) ** 1.5) for k in range(points)})


def each_target(sinks, folder):
    """Cases of both sinks, where nothing stands and where an earlier run does."""
    for sink in sinks:
        for is_old in (False, True):
            yield sink, is_old, lambda sink=sink, is_old=is_old: make_case(sink, folder, is_old)


def make_case(sink, folder, is_old):
    place = os.path.join(folder, 'case')
    shutil.rmtree(place, ignore_errors=True)
    os.mkdir(place)
    return Case(sink, place, is_old)


def name_case(sink, is_old, what):
    return '%s over %s, %s' % (sink.kind, 'an earlier one' if is_old else 'nothing', what)


def try_sizes(sinks, folder, points, _):
    def limit(size):
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))
    tally = Tally('sizes')
    for sink, is_old, make in each_target(sinks, folder):
        for size in spread(points, sink.largest):
            tally.take(name_case(sink, is_old, 'files of %d bytes at most' % size),
                       lambda: make().run(prepare=lambda: limit(size)))
    return tally.show(['done', 'failed'])


def try_room(sinks, folder, points, _):
    """The disk has room for what stands there and so many bytes more."""
    tally = Tally('room')
    disk = os.path.join(folder, 'disk')
    os.mkdir(disk)
    page = os.sysconf('SC_PAGESIZE')
    subprocess.run(['mount', '-t', 'tmpfs', '-o', 'size=64m', 'tmpfs', disk], check=True)
    try:
        for sink, is_old, make in each_target(sinks, disk):
            for size in spread(points, 2 * sink.largest):
                def work():
                    subprocess.run(['mount', '-o', 'remount,size=64m', disk], check=True)
                    case = make()
                    state = os.statvfs(disk)
                    used = (state.f_blocks - state.f_bfree) * state.f_bsize
                    room = used + size // page * page
                    subprocess.run(['mount', '-o', 'remount,size=%d' % max(room, page), disk], check=True)
                    return case.run()
                tally.take(name_case(sink, is_old, 'room for %d bytes' % size), work)
    finally:
        subprocess.run(['umount', disk], check=False)
    return tally.show(['done', 'failed'])


def try_signals(sinks, folder, points, _):
    good = True
    for number in STOPPING + [signal.SIGKILL]:
        tally = Tally(number.name)
        for sink, is_old, make in each_target(sinks, folder):
            for k in range(points):
                delay = sink.seconds * 1.1 * k / (points - 1)

                def work():
                    case = make()
                    process = case.start()
                    time.sleep(delay)
                    process.send_signal(number)
                    return case.end(process, number)
                tally.take(name_case(sink, is_old, 'after %.3f s' % delay), work)
        good = tally.show(['killed' if number == signal.SIGKILL else 'stopped']) and good
    return good


def try_memory(sinks, folder, points, refusals):
    tally = Tally('memory')
    count_file = os.path.join(folder, 'count')
    for sink, is_old, make in each_target(sinks, folder):
        make().run(environment={'LD_PRELOAD': refusals, 'REFUSE_COUNT': count_file})
        requests = int(read(count_file))
        for is_rest in (False, True):
            # Few of the requests are those of the end, where results are put in place, and most can go wrong.
            late = {requests - k * requests // (2 * points) for k in range(points // 2)}
            for at in sorted(set(spread(points - points // 2, requests)) | late):
                environment = {'LD_PRELOAD': refusals, 'REFUSE_AT': str(at + 1)}
                if is_rest:
                    environment['REFUSE_REST'] = '1'
                words = 'request %d of %d refused%s' % (at + 1, requests, ' and all behind it' if is_rest else '')
                tally.take(name_case(sink, is_old, words), lambda: make().run(environment=environment))
    return tally.show(['done', 'failed'])


TRIALS = {'sizes': try_sizes, 'room': try_room, 'signals': try_signals, 'memory': try_memory}


def enter_room(arguments):
    """Starts this anew where it may mount a disk of its own that nobody else sees. None if it can't be."""
    words = ['unshare', '--map-root-user', '--mount']
    place = tempfile.mkdtemp()
    try:
        probe = subprocess.run(words + ['mount', '-t', 'tmpfs', 'tmpfs', place], stdout=subprocess.DEVNULL,
                               stderr=subprocess.PIPE, check=False)
        reason = probe.stderr.decode(errors='replace').strip() if probe.returncode != 0 else ''
    except OSError as error:
        reason = str(error)
    finally:
        os.rmdir(place)
    if reason:
        print('room: skipped, no disk can be mounted here: ' + reason)
        return None
    words += [sys.executable, __file__, 'room', '--mounts']
    return subprocess.run(words + arguments, check=False).returncode == 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('fault', choices=list(TRIALS) + ['all'])
    parser.add_argument('program')
    parser.add_argument('--refusals', help='the library that refuses memory')
    parser.add_argument('--points', type=int, help='how many of each kind')
    parser.add_argument('--mounts', action='store_true', help=argparse.SUPPRESS)
    request = parser.parse_args()
    good = True
    for fault in TRIALS if request.fault == 'all' else [request.fault]:
        points = request.points or POINTS[fault]
        sys.stdout.flush()
        if fault == 'room' and not request.mounts:
            result = enter_room([request.program, '--points', str(points)])
            if result is None and request.fault == 'room':
                return SKIPPED
            good = result is not False and good
            continue
        with tempfile.TemporaryDirectory(prefix='tarnvelde-faults-') as folder:
            sinks = [Sink(kind, request.program, folder, fault == 'signals') for kind in NAMES]
            good = TRIALS[fault](sinks, folder, points, request.refusals) and good
    return 0 if good else 1


if __name__ == '__main__':
    sys.exit(main())
