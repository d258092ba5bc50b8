#include "kiv/Diagnostics.h"

#include <algorithm>
#include <iostream>
#include <mutex>
#include <string_view>
#include <vector>

namespace kiv {

namespace {

// A standard mutex needs no destruction, so lines may be written until the process is gone.
std::mutex g_outputMutex;

bool IsIdentifier(char c) {
    return c == '_' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsOperatorKeyword(std::string_view text, std::size_t at) {
    constexpr std::string_view keyword = "operator";
    std::size_t const after = at + keyword.size();
    return text.substr(at, keyword.size()) == keyword && (at == 0 || !IsIdentifier(text[at - 1])) &&
           (after >= text.size() || !IsIdentifier(text[after]));
}

// The scopes of the function's qualified name, outermost first, and its own name last.
std::vector<std::string_view> QualifiedName(std::string_view text) {
    constexpr std::string_view anonymous = "(anonymous";
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    int depth = 0; // of template arguments, whose "::", blanks and parentheses do not count
    std::size_t i = 0;
    for (; i < text.size(); ++i) {
        char const c = text[i];
        if (c == '<') {
            ++depth;
        } else if (c == '>') {
            --depth;
        } else if (depth > 0) {
            continue;
        } else if (text.substr(i, anonymous.size()) == anonymous) {
            i = std::min(text.find(')', i), text.size() - 1);
        } else if (c == '(') {
            break;
        } else if (IsOperatorKeyword(text, i)) {
            // What follows (a parenthesis, an angle bracket, a type) is part of the name.
            std::size_t const parameters =
                text.find('(', i + (text.substr(i, 10) == "operator()" ? 10 : 8));
            i = std::min(parameters, text.size());
            break;
        } else if (c == ' ' || c == '*' || c == '&') {
            parts.clear(); // that was the return type or a specifier
            start = i + 1;
        } else if (text.substr(i, 2) == "::") {
            parts.push_back(text.substr(start, i - start));
            start = i + 2;
            ++i;
        }
    }
    parts.push_back(text.substr(start, i - start));
    return parts;
}

} // namespace

std::string Location(char const* signature) {
    std::vector<std::string_view> const parts = QualifiedName(signature);
    return std::string(parts.size() > 1 ? parts[parts.size() - 2] : parts.back());
}

void PrintLine(std::string const& line) {
    std::string const terminated = line + '\n';
    std::lock_guard<std::mutex> const lock(g_outputMutex);
    std::cout.write(terminated.data(), static_cast<std::streamsize>(terminated.size())).flush();
}

void Diagnose(char const* tag, char const* signature, std::string const& message) {
    PrintLine(std::string(tag) + ' ' + Location(signature) + ": " + message);
}

} // namespace kiv
