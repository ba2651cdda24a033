// The commands `unit db get|set|list|watch`: reading and writing the parameter database from a shell.
#pragma once

#include <chrono>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace unit {

// All four attach to the database of this runtime directory. They print results to standard output and errors
// to standard error, and return the program's exit status: 0, 1 (no database, no such name) or 2 (wrong
// arguments). A prefix that only one name has stands for that name. With `asJson` each parameter is an object
// of name, handle and value (null: not valid): in an array, or while watching one object a line.
int GetParameters(std::span<const std::string> names, bool asJson);
// `value` is a number, or "-" to make the parameter not valid.
int SetParameter(const std::string& name, const std::string& value);
int ListParameters(const std::string& prefix, bool asJson);
// Prints each value once and then on every change, of all parameters where no name is given. Runs until
// `pause`, which waits for the given time, returns false.
int WatchParameters(std::span<const std::string> names, bool asJson,
                    const std::function<bool(std::chrono::milliseconds)>& pause);

// The names that `prefix` can stand for: only itself where it is a whole name, else all names that begin with
// it.
std::vector<std::string_view> FindCandidates(std::span<const std::string> names, std::string_view prefix);

}  // namespace unit
