#include "kiv/ini/detail/Document.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>
#include <stdexcept>

namespace kiv::ini::detail {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t";

std::string_view Trim(std::string_view text) {
    std::size_t const begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return text.substr(text.size());
    }
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool IsComment(std::string_view text) {
    return !text.empty() && (text[0] == ';' || text[0] == '#');
}

std::string_view WithoutLineEnd(std::string_view raw) {
    for (char const end : {'\n', '\r'}) {
        if (!raw.empty() && raw.back() == end) {
            raw.remove_suffix(1);
        }
    }
    return raw;
}

// What a quoted value stands for; nothing when the text is not one well-formed quoted value.
std::optional<std::string> Unquote(std::string_view text) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
        return std::nullopt;
    }
    text = text.substr(1, text.size() - 2);
    std::string value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') {
            return std::nullopt;
        }
        if (text[i] != '\\') {
            value += text[i];
            continue;
        }
        switch (++i < text.size() ? text[i] : '\0') {
        case '\\':
            value += '\\';
            break;
        case '"':
            value += '"';
            break;
        case 'n':
            value += '\n';
            break;
        case 'r':
            value += '\r';
            break;
        default:
            return std::nullopt;
        }
    }
    return value;
}

std::string Quote(std::string const& value) {
    std::string text = "\"";
    for (char const c : value) {
        if (c == '\n') {
            text += "\\n";
        } else if (c == '\r') {
            text += "\\r";
        } else {
            if (c == '"' || c == '\\') {
                text += '\\';
            }
            text += c;
        }
    }
    return text + '"';
}

std::string Encode(std::string const& value) {
    bool const plain = Trim(value).size() == value.size() && !StartsWith(value, "\"") &&
                       value.find_first_of("\r\n") == std::string::npos;
    return plain ? value : Quote(value);
}

std::optional<std::string_view> HeaderName(std::string_view line) {
    line = Trim(line);
    std::size_t const close = line.find(']');
    if (!StartsWith(line, "[") || close == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view const rest = Trim(line.substr(close + 1));
    std::string_view const name = Trim(line.substr(1, close - 1));
    if (name.empty() || !(rest.empty() || IsComment(rest))) {
        return std::nullopt;
    }
    return name;
}

Line MakeLine(std::string raw) {
    Line line;
    line.raw = std::move(raw);
    std::string_view const text = WithoutLineEnd(line.raw);
    std::string_view const start = Trim(text);
    std::size_t const equals = text.find('=');
    if (IsComment(start) || StartsWith(start, "[") || equals == std::string_view::npos) {
        return line;
    }
    line.isKey = true;
    line.key = Trim(text.substr(0, equals));
    std::string_view const value = Trim(text.substr(equals + 1));
    line.valueBegin = static_cast<std::size_t>(value.data() - line.raw.data());
    line.valueSize = value.size();
    line.value = Unquote(value).value_or(std::string(value));
    return line;
}

bool IsBlank(Line const& line) {
    return Trim(WithoutLineEnd(line.raw)).empty();
}

bool CanBeKey(std::string_view key) {
    return key.find_first_of("=\r\n") == std::string_view::npos && Trim(key).size() == key.size() &&
           !IsComment(key) && !StartsWith(key, "[") && !StartsWith(key, kByteOrderMark);
}

bool CanBeName(std::string_view name) {
    return !name.empty() && name.find_first_of("]\r\n") == std::string_view::npos &&
           Trim(name).size() == name.size();
}

} // namespace

void Document::Read(std::string_view content) {
    m_own.blocks.clear();
    m_own.keys.clear();
    for (auto& entry : m_sections) {
        entry.second.blocks.clear();
        entry.second.keys.clear();
    }
    m_blocks.clear();
    m_byteOrderMark = StartsWith(content, kByteOrderMark) ? kByteOrderMark : std::string_view();
    content.remove_prefix(m_byteOrderMark.size());
    std::size_t const firstEnd = content.find('\n');
    bool const carriageReturns =
        firstEnd != std::string_view::npos && firstEnd > 0 && content[firstEnd - 1] == '\r';
    m_lineEnd = carriageReturns ? "\r\n" : "\n";

    Section* section = &m_own;
    Block* block = &Append(m_own);
    while (!content.empty()) {
        std::size_t const last = std::min(content.find('\n'), content.size() - 1);
        std::string_view const raw = content.substr(0, last + 1);
        content.remove_prefix(raw.size());
        if (auto const name = HeaderName(WithoutLineEnd(raw))) {
            section = &Named(std::string(*name));
            block = &Append(*section);
        }
        block->push_back(MakeLine(std::string(raw)));
        auto const line = std::prev(block->end());
        if (line->isKey) {
            section->keys[line->key].push_back({block, line});
        }
    }
}

std::string Document::Write() const {
    std::string content = m_byteOrderMark;
    for (Block const& block : m_blocks) {
        for (Line const& line : block) {
            content += line.raw;
        }
    }
    return content;
}

Section& Document::Named(std::string const& name) {
    Section& section = m_sections[name];
    section.name = name;
    return section;
}

Section* Document::FindOrCreate(std::string const& name) {
    return CanBeName(name) ? &Named(name) : nullptr;
}

std::vector<std::string> Document::Names() const {
    std::vector<std::string> names;
    std::set<std::string_view> seen;
    for (auto block = std::next(m_blocks.begin()); block != m_blocks.end(); ++block) {
        std::string_view const name = *HeaderName(WithoutLineEnd(block->front().raw));
        if (seen.insert(name).second) {
            names.emplace_back(name);
        }
    }
    return names;
}

Block& Document::Append(Section& section) {
    m_blocks.emplace_back();
    section.blocks.push_back(&m_blocks.back());
    return m_blocks.back();
}

Block& Document::AppendNew(Section& section) {
    Block& before = m_blocks.back();
    if (!before.empty()) {
        EndLine(before, before.end());
        if (!IsBlank(before.back())) {
            before.push_back(MakeLine(m_lineEnd));
        }
    }
    Block& block = Append(section);
    block.push_back(MakeLine('[' + section.name + ']' + m_lineEnd));
    return block;
}

// Behind the last key. In a block without one: behind what opens the block, but before blank lines
// at its end and before comments that touch the next header and so belong to that.
Block::iterator Document::PlaceOfNewKey(Block& block) {
    for (auto line = block.rbegin(); line != block.rend(); ++line) {
        if (line->isKey) {
            return line.base();
        }
    }
    auto const first = &block == &m_blocks.front() ? block.begin() : std::next(block.begin());
    auto place = block.end();
    if (&block != &m_blocks.back()) {
        while (place != first && !IsBlank(*std::prev(place))) {
            --place;
        }
    }
    while (place != first && IsBlank(*std::prev(place))) {
        --place;
    }
    return place;
}

// Gives the line before an insertion a line end: a file's last line may lack it.
void Document::EndLine(Block& block, Block::iterator behind) const {
    if (behind == block.begin()) {
        return;
    }
    std::string& raw = std::prev(behind)->raw;
    if (raw.back() == '\r') {
        raw += '\n';
    } else if (raw.back() != '\n') {
        raw += m_lineEnd;
    }
}

void Document::Set(Section& section, std::string const& key, std::string const& text) {
    auto const known = section.keys.find(key);
    if (known != section.keys.end()) {
        Line& line = *known->second.back().line;
        if (line.value != text) {
            std::string const encoded = Encode(text);
            line.raw.replace(line.valueBegin, line.valueSize, encoded);
            line.valueSize = encoded.size();
            line.value = text;
        }
        return;
    }
    if (!CanBeKey(key)) {
        throw std::runtime_error("`" + key + "' cannot be a key of an INI file");
    }
    std::string const start = key.empty() ? "=" : key + " =";
    std::string const encoded = Encode(text);
    Line line = MakeLine(start + (encoded.empty() ? "" : " ") + encoded + m_lineEnd);
    Block& block = section.blocks.empty() ? AppendNew(section) : *section.blocks.back();
    auto const place = PlaceOfNewKey(block);
    EndLine(block, place);
    section.keys[key].push_back({&block, block.insert(place, std::move(line))});
}

bool Document::Erase(Section& section, std::string const& key) {
    auto const known = section.keys.find(key);
    if (known == section.keys.end()) {
        return false;
    }
    for (KeyLine const& keyLine : known->second) {
        keyLine.block->erase(keyLine.line);
    }
    section.keys.erase(known);
    return true;
}

} // namespace kiv::ini::detail
