#!/usr/bin/python3
"""Finds out which small faults in src/ no test notices.

Every mutant (an operator, a limit, a branch, a statement changed) is compiled into one build and switched on by an
environment variable; for each, only the tests that reach it run. Survivors are printed by folder. Those that change
nothing anybody can observe stand, with the reason, in scripts/mutation/equivalent.txt.

Usage: mutate.py TREE_FOLDER [--sample N] [--seed N] [--jobs N] [--tests "FOLDER;..."] [--skip "PATTERN:..."]
                 [--again LOG] [FOLDER_OR_FILE ...]   (below src/; all by default)
--skip leaves tests out, named as GoogleTest does: for a first pass without those that take long.
--again tries the survivors alone that a log tells of, as they come out of a pass with --skip.
"""
import argparse, collections, json, os, random, re, shutil, subprocess, sys, time
from concurrent.futures import ThreadPoolExecutor
import clang.cindex as ci
from clang.cindex import CursorKind as Kind, TypeKind

OPERATORS = {'<': ('Less', '<='), '<=': ('LessEqual', '<'), '>': ('Greater', '>='), '>=': ('GreaterEqual', '>'),
             '==': ('Equal', '!='), '!=': ('NotEqual', '=='), '+': ('Add', '-'), '-': ('Subtract', '+')}
PLAIN = set(range(TypeKind.BOOL.value, TypeKind.LONGDOUBLE.value + 1)) | {TypeKind.POINTER.value, TypeKind.ENUM.value}
TEST_FOLDERS = 'decode;edit;entry;fileio;formats;metadata;platform;properties;source;text;xml'  # the module's own
SKIPPED_TESTS = 'Killed*:*Soak*:*Program*'


class File:
    """One source file, the insertions that make its mutants, and what each is."""

    def __init__(self, root, name, arguments):
        self.name = name
        self.text = open(os.path.join(root, name), 'rb').read()
        self.arguments = arguments
        self.insertions = []  # (offset, order, text, id)
        self.functions = []

    def line_text(self, offset):
        start = self.text.rfind(b'\n', 0, offset) + 1
        return self.text[start:self.text.find(b'\n', offset)].decode(errors='replace').strip()


def is_plain(cursor):
    return cursor.type.get_canonical().kind.value in PLAIN


class Collector:
    def __init__(self, file, mutants):
        self.file, self.mutants = file, mutants

    def extent(self, cursor):
        start, end = cursor.extent.start, cursor.extent.end
        if start.file is None or not start.file.name.endswith(self.file.name) or end.offset <= start.offset:
            return None
        return start.offset, end.offset

    def add(self, what, at, parts):
        number = len(self.mutants)
        self.mutants.append({'id': number, 'file': self.file.name, 'what': what,
                             'line': self.file.text.count(b'\n', 0, at) + 1, 'text': self.file.line_text(at)})
        for offset, before, text in parts:  # before: goes in front of others at the same place
            self.file.insertions.append((offset, before, text.replace('#', str(number)), number))

    def walk(self, cursor, in_function):
        children = list(cursor.get_children())
        if cursor.kind == Kind.IF_STMT and self.text_of(cursor).startswith(b'if constexpr'):
            children = children[1:2]  # the other branch is not compiled
        for child in children:
            if child.location.file and not child.location.file.name.endswith(self.file.name):
                continue
            if self.is_compiled_in(child):
                continue
            inside = in_function or child.kind in (Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR,
                                                   Kind.LAMBDA_EXPR, Kind.FUNCTION_TEMPLATE)
            if in_function:
                self.visit(cursor, child)
            self.walk(child, inside)

    def text_of(self, cursor):
        place = self.extent(cursor)
        return self.file.text[place[0]:place[1]] if place else b''

    def is_compiled_in(self, cursor):
        """The value of a constant, be it that of a lambda called there: no switch reaches it."""
        text = self.text_of(cursor) if cursor.kind == Kind.VAR_DECL else b''
        return text.startswith(b'constexpr') and (b'](' not in text and b'[] {' not in text or text.endswith(b'}()'))

    def visit(self, parent, cursor):
        place = self.extent(cursor)
        if not place:
            return
        if cursor.kind == Kind.BINARY_OPERATOR:
            self.binary(cursor, place)
        elif cursor.kind == Kind.IF_STMT:
            self.condition(cursor)
        elif cursor.kind == Kind.INTEGER_LITERAL:
            isConstant = parent.kind == Kind.VAR_DECL and parent.type.kind == TypeKind.CONSTANTARRAY
            # The compiler's own: no switch reaches it.
            start = max((m.end() for m in re.finditer(rb'[;}]|\{\s*\n', self.file.text[:place[0]])), default=0)
            before = self.file.text[start:place[0]]
            isConstant |= b'constexpr' in before or (before.rstrip().endswith((b'<', b',')) and
                                                     self.file.text[place[1]:place[1] + 1] == b'>')
            literal = self.file.text[place[0]:place[1]].decode()
            if not isConstant and literal[0].isdigit() and literal not in ('0', '1'):
                self.add('+1', place[0], [(place[0], 1, 'mutants::Limit(#, '), (place[1], -1, ')')])
        elif cursor.kind == Kind.RETURN_STMT:
            self.returned(cursor)
        elif parent.kind == Kind.COMPOUND_STMT:
            self.statement(cursor, place)

    def binary(self, cursor, place):
        children = list(cursor.get_children())
        if len(children) != 2:
            return
        left, right = self.extent(children[0]), self.extent(children[1])
        if not left or not right or not (place[0] <= left[0] and left[1] <= right[0] and right[1] <= place[1]):
            return
        between = self.file.text[left[1]:right[0]].decode()
        operator = re.sub(r'//.*', '', between).strip()
        if operator in ('&&', '||'):
            for operand, name in ((left, 'left'), (right, 'right')):
                opening = '(mutants::On(#) || (' if operator == '&&' else '(!mutants::On(#) && ('
                self.add(f'{operator} without its {name}', operand[0],
                         [(operand[0], 1, opening), (operand[1], -1, '))')])
        elif operator in OPERATORS and is_plain(children[0]) and is_plain(children[1]):
            function, other = OPERATORS[operator]
            if operator in '+-' and any(c.type.get_canonical().kind == TypeKind.POINTER for c in children):
                return
            at = left[1] + between.index(operator)
            self.add(f'{operator} is {other}', place[0],
                     [(left[0], 1, f'mutants::{function}(#, ('), (at, 0, f'), (/*{operator}'),
                      (at + len(operator), 0, '*/'), (right[1], -1, '))')])

    def condition(self, cursor):
        first = next(iter(cursor.get_children()), None)
        place = first and self.extent(first)
        if self.text_of(cursor).startswith(b'if constexpr'):
            return
        if place and first.kind.is_expression() and b';' not in self.file.text[cursor.extent.start.offset:place[0]]:
            self.add('if is if not', place[0],
                     [(place[0], 1, 'mutants::On(#) != static_cast<bool>('), (place[1], -1, ')')])

    def returned(self, cursor):
        value = next(iter(cursor.get_children()), None)
        place = value and self.extent(value)
        if place and value.type.get_canonical().kind == TypeKind.BOOL:
            self.add('returns the opposite', place[0],
                     [(place[0], 1, 'mutants::On(#) != static_cast<bool>('), (place[1], -1, ')')])

    def statement(self, cursor, place):
        if not cursor.kind.is_expression() or cursor.kind == Kind.LAMBDA_EXPR:
            return
        end = self.file.text.find(b';', place[1])
        if end < 0 or self.file.text[place[1]:end].strip() or b'.reserve(' in self.file.text[place[0]:place[1]]:
            return
        self.add('removed', place[0], [(place[0], 2, '{ if (!mutants::On(#)) '), (end + 1, -2, ' }')])


def parse(root, file, mutants):
    unit = ci.Index.create().parse(os.path.join(root, file.name), args=file.arguments)
    errors = [d for d in unit.diagnostics if d.severity >= ci.Diagnostic.Error]
    if errors:
        print(f'not read whole: {file.name}: {errors[0].spelling}', file=sys.stderr)
    Collector(file, mutants).walk(unit.cursor, False)


def mutated(file, dropped):
    """The file's text with all its mutants but the dropped. At one place closings come first, innermost first."""
    insertions = [i for i in file.insertions if i[3] not in dropped]
    # Openings at one offset: outermost first, that is in the order of their making; closings the other way round.
    ordered = sorted(enumerate(insertions), key=lambda e: (e[1][0], 0 if e[1][1] < 0 else 1 if e[1][1] == 0 else 2,
                                                           -e[0] if e[1][1] < 0 else e[0]))
    out, last = [b'#include "platform/mutants.h"\n#line 1\n'], 0
    for _, (offset, _, text, _) in ordered:
        out += [file.text[last:offset], text.encode()]
        last = offset
    return b''.join(out + [file.text[last:]])


def run(command, **more):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors='replace', **more)


def build(tree, files, mutants, dropped):
    """Builds the tree; mutants that do not compile are dropped, line by line, until it does."""
    by_name = {os.path.join(tree, f.name): f for f in files}
    for _ in range(12):
        for path, file in by_name.items():
            text = mutated(file, dropped)
            if not os.path.exists(path) or open(path, 'rb').read() != text:
                open(path, 'wb').write(text)
        result = run(['cmake', '--build', os.path.join(tree, 'build'), '--target', 'vantor_tests', '--', '-k', '0'])
        if result.returncode == 0:
            return
        broken = set(re.findall(r'^(\S+?\.cpp):(\d+):\d+: (?:fatal )?error', result.stdout, re.M))
        broken |= set(re.findall(r'(\S+?\.cpp):(\d+):\d+:   required from here', result.stdout))
        before = len(dropped)
        for name, line in broken:
            file = next((f for p, f in by_name.items() if p.endswith(f.name) and name.endswith(f.name)), None)
            if file:
                there = {i[3] for i in file.insertions if file.text.count(b'\n', 0, i[0]) + 1 == int(line)} - dropped
                limits = {i for i in there if mutants[i]['what'] == '+1'}  # a size of an array, most often
                dropped |= limits or there
        if len(dropped) == before:
            sys.exit('the mutants do not build:\n' + result.stdout[-4000:])
    sys.exit('the mutants do not build')


def reached_by(tree, skipped):
    binary = os.path.join(tree, 'build/vantor_tests')
    log = os.path.join(tree, 'reached' + ''.join(c if c.isalnum() else '_' for c in skipped))
    if not os.path.exists(log) or os.path.getmtime(log) < os.path.getmtime(binary):
        if os.path.exists(log):
            os.remove(log)
        run([binary, '--gtest_brief=1', '--gtest_filter=-' + ':'.join(filter(None, (SKIPPED_TESTS, skipped)))],
            cwd=os.path.join(tree, 'build'), env={**os.environ, 'VANTOR_REACHED': log})
    tests = collections.defaultdict(list)  # mutant: (milliseconds, mutants that the test reaches, test)
    for line in open(log):
        name, milliseconds, *ids = line.split()
        for mutant in ids:
            tests[int(mutant)].append((int(milliseconds), len(ids), name))
    return tests


def passes(tree, mutant, tests):
    limit = 10 + 4 * sum(t[0] for t in tests) / 1000
    try:
        result = run([os.path.join(tree, 'build/vantor_tests'), '--gtest_brief=1', '--gtest_fail_fast',
                      '--gtest_filter=' + ':'.join(t[2] for t in tests)], timeout=limit,
                     cwd=os.path.join(tree, 'build'), env={**os.environ, 'VANTOR_MUTANT': str(mutant)})
        return result.returncode == 0
    except subprocess.TimeoutExpired:
        return False


def survives(tree, mutant, tests):
    """The quick tests that look at little else first: they notice most."""
    tests = sorted(tests, key=lambda t: 20 * t[0] + t[1])
    quick = sum(t[0] <= 50 for t in tests)
    groups = tests[:8], tests[8:40], tests[40:max(40, quick)], tests[max(40, quick):]
    lives = all(passes(tree, mutant['id'], group) for group in groups if group)
    if lives:
        print('lives:', described(mutant, tests), file=sys.stderr, flush=True)
    return lives


def described(mutant, tests):
    reach = '' if tests else ' (no test reaches it)'
    return f"{mutant['file']}:{mutant['line']} | {mutant['text']} | {mutant['what']}{reach}"


def number_alike(mutants):
    """Where a file has several of one text and kind, each says which it is: "removed, 2 of 3"."""
    alike = collections.defaultdict(list)
    for mutant in mutants:
        alike[mutant['file'], mutant['text'], mutant['what']].append(mutant)
    for group in alike.values():
        for number, mutant in enumerate(group, 1):
            if len(group) > 1:
                mutant['what'] += f', {number} of {len(group)}'


def known_equivalents(root):
    """Lines of `file | text of the line | what | reason`, `what` with its number where several are alike.

    Lines that have outlived their code are told."""
    path = os.path.join(root, 'scripts/mutation/equivalent.txt')
    lines = [l.split(' | ') for l in open(path)] if os.path.exists(path) else []
    known = {tuple(part.strip() for part in l[:3]) for l in lines if len(l) >= 4}
    for name, text, what in sorted(known):
        source = os.path.join(root, name)
        if not os.path.exists(source) or text not in open(source).read():
            print(f'listed as equivalent, and there no more: {name} | {text} | {what}', file=sys.stderr)
    return known


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument('tree')
    parser.add_argument('--sample', type=int)
    parser.add_argument('--seed', type=int, default=1)
    parser.add_argument('--tests', default=TEST_FOLDERS, help='folders of tests/ that are asked')
    parser.add_argument('--skip', default='', help='tests that are not asked')
    parser.add_argument('--again', type=argparse.FileType(), help='what an earlier pass printed')
    parser.add_argument('--jobs', type=int, default=os.cpu_count())
    parser.add_argument('where', nargs='*')
    options = parser.parse_intermixed_args()
    root = subprocess.check_output(['git', 'rev-parse', '--show-toplevel'], text=True).strip()
    tree = os.path.abspath(options.tree)
    os.makedirs(tree, exist_ok=True)
    names = subprocess.check_output(['git', '-C', root, 'ls-files'], text=True).split('\n')
    for name in filter(None, names):
        target = os.path.join(tree, name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        if not os.path.exists(target) or open(os.path.join(root, name), 'rb').read() != open(target, 'rb').read():
            shutil.copy(os.path.join(root, name), target)
    for folder in ('src', 'tests'):  # what is there no more
        for place, _, found in os.walk(os.path.join(tree, folder)):
            for name in found:
                if os.path.relpath(os.path.join(place, name), tree) not in names:
                    os.remove(os.path.join(place, name))
    here = os.path.join(root, 'scripts/mutation')
    for name in ('mutants.h', 'mutants.cpp'):
        shutil.copy(os.path.join(here, name), os.path.join(tree, 'src/platform', name))
    shutil.copy(os.path.join(here, 'reached_by_test.cpp'), os.path.join(tree, 'tests/support'))

    wanted = [n for n in names if n.startswith('src/') and n.endswith('.cpp') and not n.endswith('_windows.cpp')
              and 'avx2' not in n and (not options.where or any(n[4:].startswith(w) for w in options.where))]
    arguments = ['-std=c++20', f'-I{root}/src', f'-I{root}/include']
    mutants = []
    files = [File(root, name, arguments) for name in wanted]
    for file in files:
        parse(root, file, mutants)
    number_alike(mutants)
    print(f'{len(mutants)} mutants in {len(files)} files', file=sys.stderr)

    configured = run(['cmake', '-S', tree, '-B', os.path.join(tree, 'build'), '-G', 'Ninja',
                      '-DCMAKE_CXX_FLAGS=-O1 -w -Wno-error -D_GLIBCXX_ASSERTIONS', f'-DVANTOR_TEST_FOLDERS={options.tests}'])
    if configured.returncode:
        sys.exit(configured.stdout)
    known = os.path.join(tree, 'dropped.json')  # from the last time
    before = {tuple(m) for m in json.load(open(known))} if os.path.exists(known) else set()
    dropped = {m['id'] for m in mutants if (m['file'], m['line'], m['text'], m['what']) in before}
    build(tree, files, mutants, dropped)
    json.dump([[m['file'], m['line'], m['text'], m['what']] for m in mutants if m['id'] in dropped], open(known, 'w'))
    print(f'{len(dropped)} do not compile', file=sys.stderr)
    tests = reached_by(tree, options.skip)

    equivalent = known_equivalents(root)
    alive = [m for m in mutants if m['id'] not in dropped and (m['file'], m['text'], m['what']) not in equivalent]
    if options.again:
        told = {l.split(' (no test')[0].strip() for l in options.again if l.startswith('lives:')}
        alive = [m for m in alive if 'lives: ' + described(m, True) in told]
    if options.sample and options.sample < len(alive):
        alive = random.Random(options.seed).sample(alive, options.sample)
    started = time.time()
    with ThreadPoolExecutor(options.jobs) as pool:
        results = list(pool.map(lambda m: (m, survives(tree, m, tests[m['id']])), alive))
    folders = collections.Counter(m['file'].split('/')[1] for m, _ in results)
    for folder in sorted(folders):
        left = [m for m, lives in results if lives and m['file'].split('/')[1] == folder]
        print(f'{folder}: {folders[folder] - len(left)} of {folders[folder]} noticed')
        for m in left:
            print('  ' + described(m, tests[m['id']]))
    print(f'{time.time() - started:.0f} s', file=sys.stderr)


main()
