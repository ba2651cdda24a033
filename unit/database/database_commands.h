// The commands `unit db get|set|list|watch`: reading and writing the parameter database from a shell.
#pragma once

#include <chrono>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace unit {

// All four attach to the database of this runtime directory, print to standard output, and print what is wrong
// to standard error. They return the program's exit status: 0, 1 (no database, no such name) or 2 (called
// wrongly). A name may be shortened to a prefix that only one name has.
int GetParameters(std::span<const std::string> names);
// `value` is a number, or "-" to make the parameter not valid.
int SetParameter(const std::string& name, const std::string& value);
int ListParameters(const std::string& prefix);
// Prints each value now and on every change, all names where none is given, as long as `pause`, which waits for
// the given time, returns true.
int WatchParameters(std::span<const std::string> names,
                    const std::function<bool(std::chrono::milliseconds)>& pause);

// The names that a (shortened) name may mean: itself alone where it is a whole name, else all that begin with
// it.
std::vector<std::string_view> FindCandidates(std::span<const std::string> names, std::string_view prefix);

}  // namespace unit
