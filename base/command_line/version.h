// The version of the programs.
#pragma once

#include <string>

namespace base {

// What `git describe` says of the source, written at each build; "unknown" outside a work tree.
extern const char* const COMMIT;

// "unit 1.3.109 (commit v1.3.109-4-g63a91df, Release, GNU 12.2.0)": the version, what `git describe` says of
// the source ("-dirty": with changes that are not committed), and how it was compiled.
std::string DescribeVersion(const std::string& program);

}  // namespace base
