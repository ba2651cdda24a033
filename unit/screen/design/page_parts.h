// Groups that stand on several pages, written once: config/screen/parts.svg.
//
// A page names a group of that file by its id: <g data-part="lamp" var="OrvikA2B" transform="translate(84
// 40)"/> takes the children of <g id="lamp">, in which "$var" stands for the value of the attribute `var`.
// Parts may name other parts.
#pragma once

#include <filesystem>
#include <memory>

#include <pugixml.hpp>

namespace unit {

constexpr const char* PARTS_FILE = "parts.svg";

// Empty when there is no such file. Throws std::runtime_error when it cannot be read.
std::unique_ptr<pugi::xml_document> ReadParts(const std::filesystem::path& file);

// Puts the parts in their places below `root`. Throws std::runtime_error with a part or a parameter that does
// not exist, and when parts name each other in a circle.
void InsertParts(pugi::xml_node root, const pugi::xml_document& parts);

}  // namespace unit
