#pragma once

#include <csetjmp>
#include <cstdio>
#include <stdexcept>

namespace cimage {
namespace detail {

/// Runs calls of a C library whose error callback must not return, as libpng's and libjpeg's.
///
/// The callback calls Fail(), which jumps back here, where the failure becomes an exception:
///
///     calls([&] { png_read_info(png, info); }); // throws std::runtime_error
///
/// The jump passes over the frames of the body without unwinding them, so a body only makes calls
/// into the library and holds nothing that has a destructor.
class LibraryCalls {
public:
    template <class Body>
    void operator()(Body const& body) {
        if (setjmp(m_return) != 0) {
            throw std::runtime_error(m_reason);
        }
        body();
    }

    [[noreturn]] void Fail(char const* reason) {
        std::snprintf(m_reason, sizeof(m_reason), "%s", reason);
        std::longjmp(m_return, 1);
    }

private:
    std::jmp_buf m_return{};
    char m_reason[256] = "";
};

} // namespace detail
} // namespace cimage
