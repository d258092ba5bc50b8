#pragma once

#include <boost/property_tree/ptree_fwd.hpp>

#include <string>
#include <utility>
#include <vector>

namespace cimage {
namespace detail {

/// One text that an image file carries: its key and its value, in UTF-8.
using TextEntry = std::pair<std::string, std::string>;
using TextEntries = std::vector<TextEntry>;

/// The texts of a metadata tree: a node with data becomes one entry, nested keys are joined with
/// dots. Nodes whose key is empty or starts with '_' are left out with all below them; NUL
/// characters, which no image format can hold, are removed.
TextEntries FromTree(boost::property_tree::ptree const& tree);

/// Adds an entry to a metadata tree; a dot between two names of its key opens a level.
void AddToTree(boost::property_tree::ptree& tree, TextEntry const& entry);

/// Entries as lines for formats that know only free text: "key: value", further lines of a value
/// starting with a tab, or with a vertical tab where a carriage return ended the line before. Keys
/// that cannot be told from a value are left out. Line ends are "\n".
std::string ToLines(TextEntries const& entries);

/// The inverse of ToLines. Lines of another origin, without a key, become one entry under
/// fallbackKey.
TextEntries FromLines(std::string const& lines, char const* fallbackKey);

} // namespace detail
} // namespace cimage
