"""tools/mutate finds which faults the tests notice: tried on a small tree, because a sample of this one takes minutes."""

import json
import subprocess
import sys

import pytest

FILES = {
    "CMakePresets.json": """{"version": 6, "configurePresets": [{"name": "mutate", "generator": "Ninja",
        "binaryDir": "${sourceDir}/build/${presetName}", "cacheVariables": {"CMAKE_BUILD_TYPE": "Mutate",
        "BUILD_SHARED_LIBS": "ON", "CMAKE_EXPORT_COMPILE_COMMANDS": "ON"}}]}""",
    "CMakeLists.txt": """cmake_minimum_required(VERSION 3.25)
project(tiny CXX)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
include_directories(.)
add_subdirectory(src/limit)
add_subdirectory(tests/unit/limit)
""",
    "src/limit/CMakeLists.txt": "add_library(limit limit.cpp)\n",
    "src/limit/limit.h": "#pragma once\n\ninline constexpr int LEAST = 10;\n\nbool IsOver(int load);\n",
    "src/limit/limit.cpp": """#include "src/limit/limit.h"

bool IsOver(int load) {
  if (load < LEAST) return false;
  return load > 100;
}
""",
    "tests/unit/limit/CMakeLists.txt": """add_executable(test_limit limit_test.cpp)
target_link_libraries(test_limit limit gtest_main gtest)
""",
    "tests/unit/limit/limit_test.cpp": """#include <gtest/gtest.h>
#include "src/limit/limit.h"

TEST(Limit, IsOver) {
  EXPECT_TRUE(IsOver(101));
  EXPECT_FALSE(IsOver(99));
}
""",
}

STATES = {  # the test tries neither the limit itself nor a load below the least
    ("src/limit/limit.h", "number", "10"): "equal",  # whatever is over 100 is not below the least either
    ("src/limit/limit.cpp", "condition", "(load < LEAST)"): "caught",
    ("src/limit/limit.cpp", "bound", "<"): "equal",
    ("src/limit/limit.cpp", "bound", ">"): "survived",
    ("src/limit/limit.cpp", "comparison", "<"): "caught",
    ("src/limit/limit.cpp", "comparison", ">"): "caught",
    ("src/limit/limit.cpp", "name", "false"): "survived",
    ("src/limit/limit.cpp", "guard", "return false;"): "equal",
    ("src/limit/limit.cpp", "number", "100"): "caught",
}


@pytest.fixture
def tree(tmp_path):
    for name, text in FILES.items():
        (tmp_path / name).parent.mkdir(parents=True, exist_ok=True)
        (tmp_path / name).write_text(text)
    return tmp_path


def mutate(root, tree, *options):
    command = [sys.executable, "-B", root / "tools" / "mutate", "--root", tree, "--sample", "0", *options]
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def test_caught_and_surviving_faults_are_told_apart(root, tree):
    results = tree / "results.jsonl"
    said = mutate(root, tree, "--resume", results)
    found = [json.loads(line) for line in results.read_text().splitlines()]
    assert {(each["file"], each["kind"], each["change"].split("  →  ")[0]): each["state"] for each in found} == STATES
    assert "all:                          4 of    6   66.7 %" in said
    assert {name: (tree / name).read_text() for name in FILES} == FILES  # the user's files stay

    test = tree / "tests/unit/limit/limit_test.cpp"
    test.write_text(test.read_text().replace("99", "100"))
    with results.open("a") as output:
        output.write('{"key": "cut sh')  # by an interruption
    mutate(root, tree, "--resume", results)
    assert results.read_text().count("\n") == len(STATES)  # every fault had its result


@pytest.mark.parametrize("code, exchanged", [
    ("const row_t ROWS[] = {{LOAD, 1}, {RADIUS, 2}};", {"RADIUS, 1}, {LOAD"}),  # found by the key, in any order
    ('const row_t ROWS[] = {{"load", 1}, {"radius", 2}};', {'{"radius", 2}, {"load", 1}'}),
    ("class Reader {\n private:\n  enum class state_t {\n    START,\n    END,\n  };\n};", set()),
])
def test_an_order_that_means_nothing_stays(root, monkeypatch, code, exchanged):
    monkeypatch.syspath_prepend(root / "tools" / "mutate")
    from operators import list_mutants
    assert {mutant.replacement for mutant in list_mutants("a.h", code, {})
            if mutant.kind == "rows" and mutant.replacement} == exchanged
