"""Functions, files and folders stay small."""

import shape


def test_functions_files_and_folders_are_small(root):
    measured = shape.read_shape(root)
    print("\n" + shape.report(measured))
    found = shape.faults(measured)
    assert not found, "\n".join(found)


def test_what_is_too_large_is_named(tmp_path):
    folder = tmp_path / "src" / "text"
    folder.mkdir(parents=True)
    long = "namespace grid {\nint Long(int a,\n         int b) {\n" + "  ++a;\n" * 43 + "}\n}\n"
    (folder / "grid.cpp").write_text(long + "// line\n" * 460)
    short = "inline int Short() {\n  return [] { return 1; }();\n}\n"
    for number in range(12):
        (folder / f"part{number}.h").write_text(short if number == 0 else "")
    assert shape.faults(shape.read_shape(tmp_path)) == [
        "the median of the functions is 24.5 lines, 6 are the most",
        "nine tenths of the functions reach 46 lines, 15 are the most",
        "src/text/grid.cpp:2: Long has 46 lines, 45 are the most: take parts out under names of their own",
        "src/text/grid.cpp has 508 lines, 500 are the most: split it by what its parts do",
        "src/text has 13 modules, 12 are the most: give some of them a folder of their own",
    ]
