#include "cimage/detail/TextEntries.h"

#include <boost/property_tree/ptree.hpp>

#include <algorithm>
#include <sstream>

namespace cimage {
namespace detail {

namespace {

constexpr char const* Separator = ": ";
// Longer beginnings of a line are prose that happens to hold a colon.
constexpr std::size_t MaxKeyLength = 79;

void Flatten(
    boost::property_tree::ptree const& tree, std::string const& prefix, TextEntries& entries) {
    for (auto const& child : tree) {
        if (child.first.empty() || child.first.front() == '_') {
            continue;
        }
        std::string const key = prefix + child.first;
        std::string value = child.second.data();
        if (!value.empty() || child.second.empty()) {
            value.erase(std::remove(value.begin(), value.end(), '\0'), value.end());
            entries.emplace_back(key, std::move(value));
        }
        Flatten(child.second, key + ".", entries);
    }
}

bool FitsLine(std::string const& key) {
    return key.size() <= MaxKeyLength && key.find(Separator) == std::string::npos &&
           key.find_first_of("\r\n\t\v") == std::string::npos;
}

} // namespace

TextEntries FromTree(boost::property_tree::ptree const& tree) {
    TextEntries entries;
    Flatten(tree, "", entries);
    return entries;
}

void AddToTree(boost::property_tree::ptree& tree, TextEntry const& entry) {
    std::string const& key = entry.first;
    bool const isPath = !key.empty() && key.front() != '.' && key.back() != '.' &&
                        key.find("..") == std::string::npos;
    if (isPath) {
        tree.add(key, entry.second);
    } else { // a level would have no name
        tree.push_back({key, boost::property_tree::ptree(entry.second)});
    }
}

std::string ToLines(TextEntries const& entries) {
    std::string lines;
    for (TextEntry const& entry : entries) {
        if (!FitsLine(entry.first)) {
            continue;
        }
        lines += entry.first + Separator;
        for (char c : entry.second) {
            lines += c == '\n' ? "\n\t" : c == '\r' ? "\n\v" : std::string(1, c);
        }
        lines += '\n';
    }
    return lines;
}

TextEntries FromLines(std::string const& lines, char const* fallbackKey) {
    TextEntries entries;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        std::size_t const colon = line.find(Separator);
        bool const goesOn = !entries.empty() && !line.empty();
        if (goesOn && (line.front() == '\t' || line.front() == '\v')) {
            entries.back().second += (line.front() == '\t' ? '\n' : '\r') + line.substr(1);
        } else if (colon != std::string::npos && colon > 0 && colon <= MaxKeyLength) {
            entries.emplace_back(line.substr(0, colon), line.substr(colon + 2));
        } else if (!entries.empty() && entries.back().first == fallbackKey) {
            entries.back().second += '\n' + line;
        } else if (!line.empty()) {
            entries.emplace_back(fallbackKey, line);
        }
    }
    return entries;
}

} // namespace detail
} // namespace cimage
