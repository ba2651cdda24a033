// Divides a page's document into the elements that a retained picture draws one by one.
//
// An item is a drawn element with all that is below it: a text, a rectangle, a path. A group is divided into
// its children, unless it acts on them as a whole (opacity, filter, mask, a flash) or holds the drawings of the
// compositor. Each item stands within the start and end tags of its groups, so that it inherits their
// properties and transforms when it is drawn without its neighbours.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace unit {

// Which elements are dim in the present half of their flash: those with data-flashing="1" and those with "2".
struct dim_rates_t {
  bool once = false, twice = false;

  bool operator==(const dim_rates_t&) const = default;
};

struct document_item_t {
  std::string text;                // start tags of the groups, the element, end tags of the groups
  std::string id;                  // empty: the element has none
  std::size_t begin = 0, end = 0;  // of the element in `text`
  bool refers = false;             // uses the document's definitions
  bool hidden = false;             // the element or a group of it has display="none"; all else is empty
};

struct document_items_t {
  // False when items drawn one by one would not give the picture of the document: a style sheet that selects by
  // neighbours or acts on groups, an element that uses another drawn one, too many bytes.
  bool divisible = true;
  std::string whole;  // the document with the dim elements; set where it is not divisible

  std::string page;         // the metadata, in which a page names itself
  std::string start;        // the root's start tag without its data- attributes
  std::string styles;       // the style sheets
  std::string definitions;  // elements that are drawn only where others use them: gradients, pictures
  std::vector<document_item_t> items;  // in the order of drawing
};

constexpr std::size_t MOST_ITEM_BYTES = 8U << 20U;  // of all items with their groups

// Throws std::runtime_error when the document is not well-formed.
document_items_t DivideDocument(const std::string& svg, dim_rates_t dim);

// A document of some of the items, none of them hidden. The item at index i of `items` has the id
// ItemId(*items[i], i).
std::string JoinItems(const document_items_t& document, const std::vector<const document_item_t*>& items);
std::string ItemId(const document_item_t& item, std::size_t index);

}  // namespace unit
