#pragma once

#include <iostream>
#include <sstream>
#include <string>

namespace tests {

/// Collects what is written to std::cout while it lives.
class CapturedOutput {
public:
    CapturedOutput() : m_console(std::cout.rdbuf(m_text.rdbuf())) {}
    ~CapturedOutput() { std::cout.rdbuf(m_console); }
    CapturedOutput(CapturedOutput const&) = delete;
    CapturedOutput& operator=(CapturedOutput const&) = delete;

    std::string Text() const { return m_text.str(); }
    /// The text so far, which is forgotten.
    std::string Take() {
        std::string text = m_text.str();
        m_text.str("");
        return text;
    }

private:
    std::ostringstream m_text;
    std::streambuf* m_console;
};

} // namespace tests
