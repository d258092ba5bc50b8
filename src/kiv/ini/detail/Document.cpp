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

bool CanBeName(std::string_view name) {
    return !name.empty() && name.find_first_of("]\r\n") == std::string_view::npos &&
           Trim(name).size() == name.size();
}

std::optional<std::string_view> HeaderName(std::string_view line) {
    line = Trim(line);
    std::size_t const close = line.find(']');
    if (!StartsWith(line, "[") || close == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view const rest = Trim(line.substr(close + 1));
    std::string_view const name = Trim(line.substr(1, close - 1));
    if (!CanBeName(name) || !(rest.empty() || IsComment(rest))) {
        return std::nullopt;
    }
    return name;
}

// The key and the value's text of a line; nothing for a line of another kind.
struct Parts {
    std::string_view key;
    std::string_view value;
};

std::optional<Parts> Split(std::string_view line) {
    std::string_view const text = WithoutLineEnd(line);
    std::string_view const start = Trim(text);
    std::size_t const equals = text.find('=');
    if (IsComment(start) || StartsWith(start, "[") || equals == std::string_view::npos) {
        return std::nullopt;
    }
    return Parts{Trim(text.substr(0, equals)), Trim(text.substr(equals + 1))};
}

std::string Decode(std::string_view text) {
    std::optional<std::string> quoted = Unquote(text);
    return quoted ? *std::move(quoted) : std::string(text);
}

void SetText(Line& line, std::string text) {
    line.own = std::make_unique<std::string>(std::move(text));
    line.text = *line.own;
}

Line MakeLine(std::string text) {
    Line line;
    SetText(line, std::move(text));
    return line;
}

// As SetText(), for a line that may be in the index, which then holds the key in the new text.
void Replace(Section& section, Line& line, std::string text) {
    auto const parts = Split(line.text);
    if (!parts) {
        SetText(line, std::move(text));
        return;
    }
    auto entry = section.keys.extract(section.keys.find(parts->key));
    SetText(line, std::move(text));
    entry.key() = Split(line.text)->key;
    section.keys.insert(std::move(entry));
}

Line& At(KeyLine const& place) {
    return place.block->lines[place.index];
}

bool IsBlank(Line const& line) {
    return Trim(WithoutLineEnd(line.text)).empty();
}

bool CanBeKey(std::string_view key) {
    return key.find_first_of("=\r\n") == std::string_view::npos && Trim(key).size() == key.size() &&
           !IsComment(key) && !StartsWith(key, "[") && !StartsWith(key, kByteOrderMark);
}

void AddKeyLine(Section& section, std::string_view key, KeyLine const& place) {
    place.block->keysEnd = place.index + 1;
    auto const added = section.keys.try_emplace(key, KeyLines{place, nullptr});
    if (!added.second) {
        KeyLines& lines = added.first->second;
        if (!lines.earlier) {
            lines.earlier = std::make_unique<std::vector<KeyLine>>();
        }
        lines.earlier->push_back(lines.last);
        lines.last = place;
    }
}

// Lines of other keys keep their places, so that the index stays right: an erased line stays as an
// empty one until no key follows it.
void EraseLine(KeyLine const& place) {
    Block& block = *place.block;
    SetText(At(place), {});
    while (block.keysEnd > 0 && !Split(block.lines[block.keysEnd - 1].text)) {
        --block.keysEnd;
        auto const line = block.lines.begin() + static_cast<std::ptrdiff_t>(block.keysEnd);
        if (line->text.empty()) {
            block.lines.erase(line);
        }
    }
}

} // namespace

void Document::Read(std::string content) {
    m_own.blocks.clear();
    m_own.keys.clear();
    for (auto& entry : m_sections) {
        entry.second.blocks.clear();
        entry.second.keys.clear();
    }
    m_blocks.clear();
    m_content = std::move(content);
    m_markSize = StartsWith(m_content, kByteOrderMark) ? kByteOrderMark.size() : 0;
    std::size_t const firstEnd = m_content.find('\n');
    bool const carriageReturns =
        firstEnd != std::string::npos && firstEnd > 0 && m_content[firstEnd - 1] == '\r';
    m_lineEnd = carriageReturns ? "\r\n" : "\n";

    Section* section = &m_own;
    Block* block = &Append(m_own);
    std::string_view rest = std::string_view(m_content).substr(m_markSize);
    while (!rest.empty()) {
        std::size_t const last = std::min(rest.find('\n'), rest.size() - 1);
        std::string_view const text = rest.substr(0, last + 1);
        rest.remove_prefix(text.size());
        if (auto const name = HeaderName(WithoutLineEnd(text))) {
            section = &Named(std::string(*name));
            block = &Append(*section);
        } else if (auto const parts = Split(text)) {
            AddKeyLine(*section, parts->key, {block, block->lines.size()});
        }
        block->lines.push_back({text, nullptr});
    }
}

std::string Document::Write() const {
    std::string content = m_content.substr(0, m_markSize);
    for (Block const& block : m_blocks) {
        for (Line const& line : block.lines) {
            content += line.text;
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
        std::string_view const name = *HeaderName(WithoutLineEnd(block->lines.front().text));
        if (seen.insert(name).second) {
            names.emplace_back(name);
        }
    }
    return names;
}

std::vector<std::string> Document::Keys(Section const& section) {
    std::vector<std::string> keys;
    keys.reserve(section.keys.size());
    for (Block const* const block : section.blocks) {
        for (std::size_t i = 0; i < block->keysEnd; ++i) {
            auto const parts = Split(block->lines[i].text);
            if (!parts) {
                continue;
            }
            KeyLine const& last = section.keys.at(parts->key).last;
            if (last.block == block && last.index == i) {
                keys.emplace_back(parts->key);
            }
        }
    }
    return keys;
}

std::optional<std::string> Document::Find(Section const& section, std::string const& key) {
    auto const known = section.keys.find(key);
    if (known == section.keys.end()) {
        return std::nullopt;
    }
    return Decode(Split(At(known->second.last).text)->value);
}

Block& Document::Append(Section& section) {
    m_blocks.push_back({&section, {}, 0});
    section.blocks.push_back(&m_blocks.back());
    return m_blocks.back();
}

Block& Document::AppendNew(Section& section) {
    Block& before = m_blocks.back();
    if (!before.lines.empty()) {
        EndLine(before, before.lines.size());
        if (!IsBlank(before.lines.back())) {
            before.lines.push_back(MakeLine(m_lineEnd));
        }
    }
    Block& block = Append(section);
    block.lines.push_back(MakeLine('[' + section.name + ']' + m_lineEnd));
    return block;
}

// Behind the last key. In a block without one: behind what opens the block, but before blank lines
// at its end and before comments that touch the next header and so belong to that.
std::size_t Document::PlaceOfNewKey(Block const& block) const {
    if (block.keysEnd != 0) {
        return block.keysEnd;
    }
    std::size_t const first = &block == &m_blocks.front() ? 0 : 1;
    std::size_t place = block.lines.size();
    if (&block != &m_blocks.back()) {
        while (place > first && !IsBlank(block.lines[place - 1])) {
            --place;
        }
    }
    while (place > first && IsBlank(block.lines[place - 1])) {
        --place;
    }
    return place;
}

// Gives the line before an insertion a line end: a file's last line may lack it.
void Document::EndLine(Block& block, std::size_t behind) const {
    if (behind == 0) {
        return;
    }
    Line& line = block.lines[behind - 1];
    if (line.text.empty() || line.text.back() == '\n') {
        return;
    }
    bool const halfEnded = line.text.back() == '\r';
    Replace(*block.section, line, std::string(line.text) + (halfEnded ? "\n" : m_lineEnd));
}

void Document::RequireKey(Section const& section, std::string const& key) {
    if (!CanBeKey(key) && section.keys.count(key) == 0) {
        throw std::runtime_error("`" + key + "' cannot be a key of an INI file");
    }
}

void Document::Set(Section& section, std::string const& key, std::string const& text) {
    auto const known = section.keys.find(key);
    if (known != section.keys.end()) {
        Line& line = At(known->second.last);
        std::string_view const value = Split(line.text)->value;
        if (Decode(value) != text) {
            std::string changed(line.text);
            auto const begin = static_cast<std::size_t>(value.data() - line.text.data());
            changed.replace(begin, value.size(), Encode(text));
            Replace(section, line, std::move(changed));
            modified = true;
        }
        return;
    }
    RequireKey(section, key);
    std::string const start = key.empty() ? "=" : key + " =";
    std::string const encoded = Encode(text);
    Block& block = section.blocks.empty() ? AppendNew(section) : *section.blocks.back();
    std::size_t const place = PlaceOfNewKey(block);
    EndLine(block, place);
    // Only lines without keys move, so that the index stays right.
    auto const line = block.lines.insert(
        block.lines.begin() + static_cast<std::ptrdiff_t>(place),
        MakeLine(start + (encoded.empty() ? "" : " ") + encoded + m_lineEnd));
    AddKeyLine(section, Split(line->text)->key, {&block, place});
    modified = true;
}

bool Document::Erase(Section& section, std::string const& key) {
    auto const known = section.keys.find(key);
    if (known == section.keys.end()) {
        return false;
    }
    modified = true;
    KeyLines const lines = std::move(known->second);
    section.keys.erase(known);
    EraseLine(lines.last);
    if (lines.earlier) {
        std::for_each(lines.earlier->rbegin(), lines.earlier->rend(), EraseLine);
    }
    return true;
}

} // namespace kiv::ini::detail
