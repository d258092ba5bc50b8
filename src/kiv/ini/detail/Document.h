#pragma once

#include "kiv/ini/INIFile.h"

#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace kiv::ini::detail {

struct Line {
    std::string raw;    // with its line end, where it has one
    bool isKey = false; // the rest is that of key lines
    std::string key;
    std::string value;          // decoded
    std::size_t valueBegin = 0; // where the value's text lies in raw
    std::size_t valueSize = 0;
};

// A header and what follows it up to the next header.
using Block = std::list<Line>;

struct KeyLine {
    Block* block;
    Block::iterator line;
};

struct Section {
    std::string name;
    std::vector<Block*> blocks; // in file order; empty while nothing of the section is in the file
    std::unordered_map<std::string, std::vector<KeyLine>>
        keys;                      // in file order: the last one counts
    std::unique_ptr<INIFile> view; // null for the file's own keys
};

// The lines of a file, and an index of their keys.
class Document {
public:
    Document() { Read({}); }
    Document(Document const&) = delete;
    Document& operator=(Document const&) = delete;

    // Replaces everything but the file name; sections keep their addresses and their views.
    void Read(std::string_view content);
    std::string Write() const;

    Section& Own() { return m_own; }
    Section* FindOrCreate(std::string const& name);
    std::vector<std::string> Names() const;
    void Set(Section& section, std::string const& key, std::string const& text);
    static bool Erase(Section& section, std::string const& key);

    std::string fileName;
    std::unordered_set<INIFile const*> views; // those of all sections

private:
    Section& Named(std::string const& name);
    Block& Append(Section& section);
    Block& AppendNew(Section& section);
    Block::iterator PlaceOfNewKey(Block& block);
    void EndLine(Block& block, Block::iterator behind) const;

    std::string m_byteOrderMark;
    std::string m_lineEnd;     // of lines to come
    std::list<Block> m_blocks; // the first one, without a header, holds the file's own keys
    Section m_own;
    std::map<std::string, Section> m_sections;
};

} // namespace kiv::ini::detail
