#pragma once

#include "kiv/ini/INIFile.h"

#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace kiv::ini::detail {

// One line with its line end, where it has one: as it was read, or as it was set since. An erased
// line is empty.
struct Line {
    std::string_view text;            // in the document's content or in own
    std::unique_ptr<std::string> own; // null for a line that was read
};

struct Section;

// A header and what follows it up to the next header.
struct Block {
    Section* section;
    std::vector<Line> lines;
    std::size_t keysEnd = 0; // behind the last key line; 0 without any
};

struct KeyLine {
    Block* block;
    std::size_t index;
};

// The lines of one key.
struct KeyLines {
    KeyLine last;                                  // the one that counts
    std::unique_ptr<std::vector<KeyLine>> earlier; // mostly null
};

struct Section {
    std::string name;
    std::vector<Block*> blocks; // in file order; empty while nothing of the section is in the file
    std::unordered_map<std::string_view, KeyLines> keys; // each key as one of its lines holds it
    std::unique_ptr<INIFile> view;                       // null for the file's own keys
};

// The lines of a file, and an index of their keys. Made for large files: what was read stays in one
// piece, lines point into it, and a key costs one node of the index.
class Document {
public:
    Document() { Read({}); }
    Document(Document const&) = delete;
    Document& operator=(Document const&) = delete;

    // Replaces everything but the file name; sections keep their addresses and their views.
    void Read(std::string content);
    std::string Write() const;

    Section& Own() { return m_own; }
    Section* FindOrCreate(std::string const& name);
    std::vector<std::string> Names() const;
    static std::vector<std::string> Keys(Section const& section);
    static std::optional<std::string> Find(Section const& section, std::string const& key);
    static void RequireKey(Section const& section, std::string const& key);
    void Set(Section& section, std::string const& key, std::string const& text);
    bool Erase(Section& section, std::string const& key);

    std::string fileName;
    bool modified = false;
    std::unordered_set<INIFile const*> views; // those of all sections

private:
    Section& Named(std::string const& name);
    Block& Append(Section& section);
    Block& AppendNew(Section& section);
    std::size_t PlaceOfNewKey(Block const& block) const;
    void EndLine(Block& block, std::size_t behind) const;

    std::string m_content; // as it was read, with its byte-order mark
    std::size_t m_markSize = 0;
    std::string m_lineEnd;     // of lines to come
    std::list<Block> m_blocks; // the first one, without a header, holds the file's own keys
    Section m_own;
    std::map<std::string, Section> m_sections;
};

} // namespace kiv::ini::detail
