"""What bench/run measures: one row for each figure, with its peer in the same run and the value to reach."""

import dataclasses

UNITS = {"ns": 1.0, "µs": 1e3, "ms": 1e6}  # of a time, in nanoseconds


@dataclasses.dataclass(frozen=True)
class Row:
    what: str
    source: str           # a benchmark program, or a script
    name: str             # of the benchmark, or the key in the script's figures
    unit: str             # a time, "M/s" (items or bytes), or what the script says
    reach: float          # at most so much of a time or share, at least so much of a rate
    peer: str = ""        # a benchmark of the same program; `reach` is then a multiple of it
    peer_is: str = ""     # what the peer is called

    @property
    def is_rate(self):
        return self.unit.endswith("/s")

    @property
    def key(self):
        return f"{self.source} {self.name} {self.unit}"


def value_of(found, unit):
    """A benchmark's figure in this unit; `found` is its entry in the program's JSON."""
    if unit in ("M/s", "MB/s"):
        return found["items_per_second" if unit == "M/s" else "bytes_per_second"] / 1e6
    kind = "real_time" if found["name"].endswith("/real_time") else "cpu_time"
    return found[kind] * UNITS[found["time_unit"].replace("us", "µs")] / UNITS[unit]


def messages(size):
    return Row(f"message and reply, {size:,} bytes, one core", "bench_messages", f"BmMessage/pinned/bytes:{size}/1/real_time",
               "µs", 1.15, f"BmBareSocket/pinned/bytes:{size}/1/real_time", "bare socket")


def publish(size):
    return Row(f"publish, {size:,} bytes, one core", "bench_messages", f"BmSendMsg/pinned/bytes:{size}/1/real_time", "µs", 1.25,
               f"BmBareSocket/pinned/bytes:{size}/1/real_time", "bare socket")


ROWS = (
    Row("CMD2: a frame through decapsulation, parser, setters", "bench_hostlink", "BmOperatingValueFrames", "M/s", 20),
    Row("CMD5 with its texts: a frame", "bench_hostlink", "BmTextFrames", "M/s", 10),
    *(Row(f"UTF-8 repair, {text} text", "bench_hostlink", f"BmFixUtf8String/{text}", "MB/s", reach,
          f"BmLibraryRepair/{text}", "utfcpp")
      for text, reach in (("ascii", 4), ("russian", 4), ("chinese", 4), ("broken", 1.5))),
    # 14, 20 and 12.5 ns where the lock takes 11.2
    Row("`DBSHM::Write`", "bench_dbshm", "BmWrite/changing:1", "ns", 1.25, "BmBareLock", "bare lock and store"),
    Row("`DBSHM::Write`, timed", "bench_dbshm", "BmWriteTimed", "ns", 1.79, "BmBareLock", "bare lock and store"),
    Row("`DBSHM::Read`", "bench_dbshm", "BmRead", "ns", 1.12, "BmBareLock", "bare lock and store"),
    Row("lock, compare, store, unlock", "bench_dbshm", "BmBareLock", "ns", 1.0, "BmRobustMutex", "robust mutex"),
    Row("generic configuration", "bench_preference", "BmPreferenceReader", "µs", 1.0, "BmPugixml", "pugixml"),
    Row("a document of 10 MB", "bench_preference", "BmPreferenceReaderLarge", "ms", 1.0, "BmExpatLarge", "Expat"),
    *map(messages, (8, 20, 1824, 10240)),
    Row("native picture, one changed number", "bench_picture", "BmOneNumber", "ms", 1),
    Row("native picture, a page that was shown before", "bench_picture", "BmPageChange", "ms", 12),
    Row("native picture as PNG", "bench_picture", "BmWritePng", "ms", 9),
    *map(publish, (8, 20, 1824, 10240)),
    Row("`orvik`, idle", "desk_figures.py", "idle orvik", "% of a core", 2),
    Row("`orvik`, idle, beside bare wake-ups", "desk_figures.py", "idle orvik", "% of one core", 1, "idle orvik floor",
        "as many wake-ups"),
    Row("`unit`, idle", "desk_figures.py", "idle unit", "% of a core", 1),
    Row("`unit`, idle, beside bare wake-ups", "desk_figures.py", "idle unit", "% of one core", 1, "idle unit floor",
        "as many wake-ups"),
    Row("`unit`, 2,000 frames a second", "desk_figures.py", "2,000 frames a second unit", "% of a core", 10),
    Row("`unit`, memory before the first picture", "desk_figures.py", "idle unit memory", "MiB", 16),
    Row("frame on the bus to the widget on the stream, median", "desk_figures.py", "latency median", "ms", 16),
    Row("the same, 99th percentile", "desk_figures.py", "latency 99th", "ms", 31),
    Row("`/screen.png` after a change", "desk_figures.py", "picture median", "ms", 10),
    Row("start to \"Orvik: System Up\", beyond its pauses", "desk_figures.py", "start", "ms", 20),
    Row("bus to the browser's document, 100 changes a second", "browser_load.py", "median", "ms", 50),
    Row("the same, the browser's main thread", "browser_load.py", "main thread", "% of a core", 10),
    Row("`orvik` on a core of 400 MHz without the kernel, idle", "arm/arm_load.py", "idle", "% of a core", 25),
    Row("the same at 200 frames a second", "arm/arm_load.py", "busy", "% of a core", 25),
)
