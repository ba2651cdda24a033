// Groups that stand on several pages, written once: config/screen/parts.svg.
//
// A page names a group of that file by its id: <g data-part="lamp" var="OrvikA2B" transform="translate(84
// 40)"/> takes the children of <g id="lamp">, in which "$var" stands for the value of the attribute `var`.
// Parts may name other parts.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>

#include <pugixml.hpp>

namespace unit {

constexpr const char* PARTS_FILE = "parts.svg";
// A page is drawn again for each change and travels whole in one message, so that a larger one would hold up
// the screen.
constexpr std::size_t MOST_PAGE_BYTES = 256U << 10U;  // of a file, and of a page with its parts
constexpr std::size_t MOST_PAGE_ELEMENTS = 5000;      // with its parts

// Reads a file of the design or of its words. Throws std::runtime_error with the problem, also with one that
// exceeds the bounds, and one that is no regular file: a FIFO would keep its reader for ever.
void LoadDesignFile(pugi::xml_document& document, const std::filesystem::path& file);

// Empty when there is no such file. Throws std::runtime_error when it cannot be read.
std::unique_ptr<pugi::xml_document> ReadParts(const std::filesystem::path& file);

// Puts the parts in their places below `root`. Throws std::runtime_error with a part or a parameter that does
// not exist, when parts name each other in a circle, and when the page gets too many elements.
void InsertParts(pugi::xml_node root, const pugi::xml_document& parts);

}  // namespace unit
