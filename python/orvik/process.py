"""Child processes whose output is kept."""

import contextlib
import os
import pathlib
import signal
import subprocess
import threading
from typing import IO, ClassVar, List, Optional, Sequence, Union

from .waiting import NotInTime, patient, wait_for

Word = Union[str, "os.PathLike[str]", int, float]
LINES_TOLD = 80
KILLED_SECONDS = 60.0  # the kernel of a very busy machine takes seconds to end a process


class Process:
    """A child process in a runtime directory. Its standard output and standard error are kept line by line."""

    started: ClassVar[List["Process"]] = []
    """All processes of the present test; the pytest plugin prints their lines after a failure."""

    def __init__(self, arguments: Sequence[Word], runtime: Union[str, "os.PathLike[str]"], **environment: str) -> None:
        env = dict(os.environ, ORVIK_RUNTIME_DIR=str(runtime), ORVIK_ROOT=str(pathlib.Path(runtime) / "root"), **environment)
        self.name = pathlib.Path(str(arguments[0])).name
        self.child = subprocess.Popen([str(each) for each in arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                      stderr=subprocess.PIPE, env=env)
        self.out: List[str] = []
        self.err: List[str] = []
        self._readers = [threading.Thread(target=self._read, args=pair, daemon=True)
                         for pair in ((self.child.stdout, self.out), (self.child.stderr, self.err))]
        for reader in self._readers:
            reader.start()
        self.started.append(self)

    @staticmethod
    def _read(stream: IO[bytes], lines: List[str]) -> None:
        for line in stream:
            lines.append(line.decode("utf-8", "replace").rstrip("\n"))

    @property
    def runs(self) -> bool:
        """Whether the process has not ended."""
        return self.child.poll() is None

    def wait_line(self, text: str, stream: Optional[List[str]] = None, seconds: float = 10.0, count: int = 1) -> List[str]:
        """Waits until `text` stands in `count` lines of a stream (default: `out`); returns the lines from that one on."""
        lines = self.out if stream is None else stream
        return wait_for(lambda: [line for line in list(lines) if text in line][count - 1:], f"{self.name}: {text!r}", seconds)

    def wait_exit(self, seconds: float = 15.0) -> int:
        """Waits for the end; returns the exit status, or minus the signal that ended it."""
        try:
            status = self.child.wait(patient(seconds))
        except subprocess.TimeoutExpired:
            raise NotInTime(f"timed out waiting for {self.name} to end") from None
        for reader in self._readers:
            reader.join(5)
        return status

    def stop(self, number: int = signal.SIGTERM) -> int:
        """Ends the process by a signal, or by SIGKILL where it does not follow; returns as `wait_exit`."""
        if self.runs:
            self.child.send_signal(number)
            with contextlib.suppress(NotInTime):
                return self.wait_exit()
            self.child.kill()
        return self.wait_exit(KILLED_SECONDS)

    def told(self) -> str:
        """The last lines of both streams, for a report."""
        return "\n".join([f"--- {self.name} (exit {self.child.poll()}), standard output:", *self.out[-LINES_TOLD:],
                          f"--- {self.name}, standard error:", *self.err[-LINES_TOLD:]])
