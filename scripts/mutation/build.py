"""Builds and runs the test programs with one object of the library exchanged, in a copy of the sources."""

import dataclasses
import json
import math
import os
import pathlib
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time

# The programs that test each room, and those of the rooms above it, in the order in which they are asked.
PROGRAMS = {
    "platform": ["platform_tests"],
    "protocol": ["protocol_tests", "transport_tests"],
    "registry": ["registry_tests"],
    "servers": ["servers_tests"],
    "api": ["api_tests", "api_without_event_loop_tests", "api_refusal_tests", "api_faults_tests"],
}
# The parts of the protocol room that transport_tests tests.
TRANSPORT = ("protocol/server_interface", "protocol/request_ids")
# Those that load the shared library.
SHARED = ["conformance_tests", "conformance_gateway_tests"]

ARCHIVE = "libtavlib.a"
SHARED_LIBRARY = "libtavlib.so"
# Optimised a little, so that a change without an effect gives the same object. Headers more, so that their functions
# are not taken from the test program's own, unbroken copy; survivors too, to find out that there was no effect.
OPTIMISED = ["-O1", "-g0", "-w"]
OPTIMISED_MORE = ["-O2", "-g0", "-w"]
MEMORY_LIMIT = 8 << 30
FILE_LIMIT = 256 << 20


def programs_for(name):
    """The static library's test programs for a source, its own room's first."""
    room = name.split("/")[0]
    rooms = list(PROGRAMS)
    own = PROGRAMS[room]
    if name.startswith(TRANSPORT):
        own = own[::-1]
    above = rooms[rooms.index(room) + 1 :]
    if room == "protocol":
        above.remove("registry")  # which stands beside it
    return own + [program for other in above for program in PROGRAMS[other]]


def copy_sources(source, target):
    """Makes `target` a copy of the sources that git knows or would know, keeping what is as it was."""
    listed = subprocess.run(
        ["git", "-C", source, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        check=True, capture_output=True, text=True,
    ).stdout.split("\0")
    wanted = {name for name in listed if name and (source / name).is_file()}
    for name in wanted:
        new, old = source / name, target / name
        if not old.is_file() or old.read_bytes() != new.read_bytes():
            old.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(new, old)
            shutil.copymode(new, old)
    for old in [path for path in target.rglob("*") if path.is_file()]:
        if str(old.relative_to(target)) not in wanted:
            old.unlink()


@dataclasses.dataclass(frozen=True)
class Limits:
    """How many seconds a program may run, and how many of them it may keep a processor busy."""

    run: float
    busy: float


class Build:
    """The copy with its build, and the folder in which one mutant at a time is made."""

    def __init__(self, repository, folder):
        self.tree = (folder / "tree").resolve()
        self.objects = (folder / "objects").resolve()
        self.work = (folder / "mutant").resolve()
        if self.tree != repository:
            copy_sources(repository, self.tree)
        self._configure()
        self.limits = {}
        self._compile = self._compile_commands()
        self._link = {}
        self._dependents = self._read_dependents()
        self._unbroken = {}

    def _configure(self):
        compilers = dict(os.environ, CC="gcc", CXX="g++")
        configure = [
            "cmake", "-S", self.tree, "-B", self.objects, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
            "-DCMAKE_CXX_FLAGS_DEBUG=", "-DTAVLIB_COVERAGE=OFF",
        ]
        subprocess.run(configure, env=compilers, check=True)
        programs = [program for room in PROGRAMS.values() for program in room] + SHARED
        subprocess.run(["ninja", "-C", self.objects, "tavlib", *programs], check=True)

    def _compile_commands(self):
        commands = {}
        for entry in json.loads((self.objects / "compile_commands.json").read_text()):
            if "tavlib_objects.dir" in entry["command"]:
                name = str(pathlib.Path(entry["file"]).relative_to(self.tree))
                words = shlex.split(entry["command"])
                output, source = words.index("-o"), words.index("-c")
                commands[name] = words[:output] + words[output + 2 : source] + words[source + 2 :]
        return commands

    def _read_dependents(self):
        """For each header of the rooms the library's sources that include it."""
        text = subprocess.run(
            ["ninja", "-C", self.objects, "-t", "deps"], check=True, capture_output=True, text=True
        ).stdout
        dependents = {}
        for block in text.split("\n\n"):
            lines = block.strip().split("\n")
            if "tavlib_objects.dir/" not in lines[0]:
                continue
            source = lines[0].split("tavlib_objects.dir/")[1].split(".o:")[0]
            for line in lines[1:]:
                path = pathlib.Path(os.path.normpath(self.objects / line.strip()))
                if path.is_relative_to(self.tree):
                    dependents.setdefault(str(path.relative_to(self.tree)), set()).add(source)
        return dependents

    def _compile_to(self, name, source, output, options, overlay=None):
        output.parent.mkdir(parents=True, exist_ok=True)
        words = self._compile[name]
        first = ["-I", overlay] if overlay else []
        command = [words[0], *first, *words[1:], *options, "-o", output, "-c", source]
        return subprocess.run(command, cwd=self.objects, stderr=subprocess.DEVNULL, check=False).returncode == 0

    def _unbroken_object(self, name, options):
        key = name + "".join(options)
        if key not in self._unbroken:
            output = self.work / "unbroken" / f"{name}.o"
            if not self._compile_to(name, self.tree / name, output, options):
                sys.exit(f"mutate: {name} does not compile as it is")
            self._unbroken[key] = output.read_bytes()
        return self._unbroken[key]

    def is_without_effect(self, mutant):
        return self.compile(mutant, OPTIMISED_MORE) == {}

    def compile(self, mutant, options=OPTIMISED):
        """The changed objects by source; none when nothing changed, None when it does not compile."""
        name = mutant.source.name
        overlay = self.work / "source"
        shutil.rmtree(overlay, ignore_errors=True)
        broken = overlay / name
        broken.parent.mkdir(parents=True)
        broken.write_text(mutant.text)
        is_header = name.endswith(".h")
        if is_header:
            options = OPTIMISED_MORE
        changed = {}
        for source in sorted(self._dependents.get(name, ())) if is_header else [name]:
            output = self.work / "objects" / f"{source}.o"
            path = self.tree / source if is_header else broken
            if not self._compile_to(source, path, output, options, overlay if is_header else None):
                return None
            if output.read_bytes() != self._unbroken_object(source, options):
                changed[source] = output
        return changed

    def _link_command(self, target):
        """The command that links a target, without its output."""
        if target not in self._link:
            commands = subprocess.run(
                ["ninja", "-C", self.objects, "-t", "commands", target], check=True, capture_output=True, text=True
            ).stdout
            links = [part for line in commands.split("\n") for part in line.split("&&") if " -o " in part]
            words = shlex.split(links[-1])
            output = words.index("-o")
            self._link[target] = [words[0], "-fuse-ld=gold", *words[1:output], *words[output + 2 :]]
        return self._link[target]

    def _link_to(self, target, output, changed):
        """Links with the changed objects: in the place of their own, or before the archive that holds those."""
        words = []
        placed = {f"CMakeFiles/tavlib_objects.dir/{source}.o": str(path) for source, path in changed.items()}
        for word in self._link_command(target):
            if word == ARCHIVE:
                words += placed.values()
            words.append(placed.get(word, word))
        output.parent.mkdir(parents=True, exist_ok=True)
        linked = subprocess.run([*words, "-o", output], cwd=self.objects, stderr=subprocess.DEVNULL, check=False)
        return linked.returncode == 0

    def run_programs(self, name, changed, shared=True):
        """Runs a source's programs until one fails: what failed, None when nothing did, "" when it does not link."""
        for program in programs_for(name):
            executable = self.work / program
            if not self._link_to(program, executable, changed):
                return ""
            if failure := self._run(program, executable):
                return failure
        if not shared:
            return None
        library = self.work / SHARED_LIBRARY
        if not self._link_to(SHARED_LIBRARY, library, changed):
            return ""
        for program in SHARED:
            if failure := self._run(program, self.objects / "tests" / "conformance" / program, library):
                return failure
        return None

    def measure(self):
        """Runs every program unbroken, and from then on gives each a few times as long as it took."""
        for program in [program for room in PROGRAMS.values() for program in room] + SHARED:
            path = next(path for path in (self.objects / "tests").rglob(program) if path.is_file())
            self.limits[program] = Limits(300, 300)
            started, used = time.monotonic(), _processor_time()
            if failure := self._run(program, path):
                sys.exit(f"mutate: the unbroken library fails: {failure}")
            self.limits[program] = Limits(5 * (time.monotonic() - started) + 5, 3 * (_processor_time() - used) + 2)

    def _run(self, program, executable, preloaded=None):
        """Runs a test program: the first test that fails, or how it ended, or None."""
        with tempfile.TemporaryDirectory(prefix="tavlib-mutant-") as folder:
            environment = dict(os.environ, TMPDIR=folder, GTEST_FAIL_FAST="1", GTEST_BRIEF="1", GTEST_COLOR="no")
            if preloaded:
                environment["LD_PRELOAD"] = str(preloaded)
            process = subprocess.Popen(
                [executable], cwd=folder, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT, start_new_session=True,
                preexec_fn=lambda: _limit_resources(self.limits[program].busy),
            )
            try:
                output, _ = process.communicate(timeout=self.limits[program].run)
            except subprocess.TimeoutExpired:
                return f"{program}: no end"
            finally:
                _end_group(process)
        if process.returncode == 0:
            return None
        failed = [line for line in output.decode(errors="replace").split("\n") if line.startswith("[  FAILED  ]")]
        if not failed:
            return f"{program}: ended with {process.returncode}"
        return f"{program}: {failed[0][13:].split(',')[0].split(' (')[0]}"


def _processor_time():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def _limit_resources(busy):
    seconds = math.ceil(busy)
    resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
    resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_LIMIT, FILE_LIMIT))


def _end_group(process):
    """Ends what a test program has started and left behind: it leads a session of its own."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()
