"""The faults. Each is a context that begins the fault, yields the words that describe it, and ends it."""

import contextlib
import functools
import os
import pathlib
import resource
import signal
import socket
import struct

PARTS = ("notify", "database", "board", "j1939", "screen", "panel", "orvik")
APPLICATION, HOST = "application", "hx7"
OBJECTS = ("DBSHM", "OrvikBoard")
NAMES = ("channel.8000000.1", "channel.x", "name.Stranger", "name.", "unit.x.lock", "shared.x", ".x", "a" * 200, "\udcff")
MAKERS = (lambda path: path.write_bytes(os.urandom(1000)), pathlib.Path.mkdir, os.mkfifo,
          lambda path: path.symlink_to(path), lambda path: path.symlink_to("/dev/zero"))


def target(rig, part):
    rig.health.excused |= part != APPLICATION and "panel" in rig.group_of(part)  # while the panel itself is hit
    return rig.application() if part == APPLICATION else rig.processes[part].child.pid


def send(process, number):
    with contextlib.suppress(ProcessLookupError, TypeError):  # it may have ended
        os.kill(process, number)


@contextlib.contextmanager
def killed(rig, chance, part=None):
    part = part or chance.choice(PARTS)
    number = chance.choice((signal.SIGKILL, signal.SIGKILL, signal.SIGTERM, signal.SIGABRT))
    rig.hold_dead(part, number)
    yield f"{part} gets {number.name}"
    rig.release(part)


@contextlib.contextmanager
def application_killed(rig, chance):
    number = chance.choice((signal.SIGKILL, signal.SIGSEGV, signal.SIGTERM))
    send(rig.application(), number)
    yield f"application gets {number.name}"


@contextlib.contextmanager
def stopped(rig, _, part):
    process = target(rig, part)
    send(process, signal.SIGSTOP)
    yield f"{part} stands still"
    send(process, signal.SIGCONT)


def remove(path, _):
    path.unlink()


def cut(path, chance):
    os.truncate(path, chance.choice((0, 1, path.stat().st_size // 2)))


def fill(path, chance):
    path.write_bytes(chance.choice((b"\xff", b"\0", b"\x5a\xa5")) * path.stat().st_size)


def hold_lock(path, _):
    """As a process that was stopped between two instructions: this one lives, and never gives the lock back."""
    with path.open("r+b") as file:
        file.write(struct.pack("<I", os.getpid()))


@contextlib.contextmanager
def damaged(rig, chance, damage, names):
    name = chance.choice(names)
    with contextlib.suppress(FileNotFoundError):
        damage(pathlib.Path("/dev/shm") / (rig.shared + name), chance)
    yield f"{damage.__name__} {name}"


@contextlib.contextmanager
def record_blocked(rig, chance):
    path = chance.choice(("/dev/full", rig.folder / "fifo"))
    if path != "/dev/full" and not path.exists():
        os.mkfifo(path)
    rig.hold_dead("j1939")
    rig.options = ["--record", path]
    rig.release("j1939")
    yield f"the bus is recorded to {path}"


@contextlib.contextmanager
def limited(rig, chance, name, limit, what):
    """A limit of a running process; a new one in its place does not have it. Clients and a new application come."""
    part = chance.choice((*PARTS, APPLICATION))
    process = target(rig, part)
    with contextlib.ExitStack() as stack:
        before = resource.prlimit(process, name)
        resource.prlimit(process, name, (limit(process), before[1]))
        words = f"{part} has no {what}"
        if chance.random() < 0.5:
            words += ", " + stack.enter_context(application_killed(rig, chance))
        for address in (rig.panel, rig.bus) * 10:
            with contextlib.suppress(OSError):
                stack.enter_context(socket.create_connection(address.split(":"), 0.2))
        yield words
        with contextlib.suppress(ProcessLookupError):
            resource.prlimit(process, name, before)


def used_descriptors(process):
    return max(map(int, os.listdir(f"/proc/{process}/fd"))) + 1


def used_memory(process):
    return int(pathlib.Path(f"/proc/{process}/statm").read_text().split()[0]) * resource.getpagesize()


@contextlib.contextmanager
def clock_set(rig, chance):
    seconds = chance.choice((3, -3, 3600, -3600, 86400 * 400, -86400 * 400))
    rig.clock.write_text(f"{seconds:+d}")
    yield f"the clock is set by {seconds} s"
    rig.clock.write_text("+0")


@contextlib.contextmanager
def strangers(rig, chance):
    """Files of others, under names like our own, while a part starts."""
    made = [rig.runtime / name for name in NAMES]
    for path in made:
        chance.choice(MAKERS)(path)
    with killed(rig, chance) as words:
        yield f"strangers' files, {words}"
    for path in made:
        with contextlib.suppress(FileNotFoundError):
            path.rmdir() if path.is_dir() and not path.is_symlink() else path.unlink()


@contextlib.contextmanager
def cable(rig, _, event):
    getattr(rig.cable, event).set()
    yield f"the cable is {event}"
    getattr(rig.cable, event).clear()


@contextlib.contextmanager
def x_server_killed(rig, _):
    rig.x_server.kill()
    rig.x_server.wait()
    yield "the X server gets SIGKILL"
    rig.start_x()


@contextlib.contextmanager
def all_started_anew(rig, chance):
    order = chance.sample(rig.groups[:-1], len(rig.groups) - 1)
    for group in order:
        rig.hold_dead(group[0], chance.choice((signal.SIGKILL, signal.SIGTERM)))
    yield "all ended, started in the order " + " ".join(map(",".join, order))
    for group in order:
        rig.release(group[0])


# Name: how long the fault lasts at least and at most (seconds), the fault, and its arguments.
ROWS = {
    **{f"kill {part}": (0.0, 3.0, killed, part) for part in (*PARTS, HOST)},
    "kill application": (0.0, 0.5, application_killed),
    **{f"stop {part}": (0.2, 5.0, stopped, part) for part in (*PARTS, APPLICATION, HOST)},
    "object removed": (0.0, 0.2, damaged, remove, OBJECTS),
    "object cut": (0.0, 0.2, damaged, cut, OBJECTS),
    "noise in object": (0.0, 0.2, damaged, fill, OBJECTS),
    "lock held": (0.0, 0.2, damaged, hold_lock, OBJECTS[:1]),
    "record blocked": (1.0, 3.0, record_blocked),
    "disk full": (1.0, 3.0, limited, resource.RLIMIT_FSIZE, lambda _: 0, "room on the disk"),
    "no descriptor": (1.0, 3.0, limited, resource.RLIMIT_NOFILE, used_descriptors, "descriptor"),
    "no memory": (1.0, 3.0, limited, resource.RLIMIT_AS, used_memory, "memory"),
    "clock set": (1.2, 4.0, clock_set),
    "strangers' files": (0.0, 1.0, strangers),
    "cable cut": (0.1, 5.0, cable, "cut"),
    "cable held": (0.1, 5.0, cable, "held"),
    "silence": (12.5, 14.0, cable, "cut"),
    "X server killed": (0.1, 1.0, x_server_killed),
    "all started anew": (0.1, 1.0, all_started_anew),
}
KINDS = {name: (low, high, functools.partial(lambda fault, arguments, *given: fault(*given, *arguments), fault, arguments))
         for name, (low, high, fault, *arguments) in ROWS.items()}
