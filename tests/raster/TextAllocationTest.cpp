#include "drivers/raster/TextRenderer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<int> g_allocations{0};

} // namespace

void* operator new(std::size_t size) {
    ++g_allocations;
    if (void* const p = std::malloc(size)) {
        return p;
    }
    throw std::bad_alloc();
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    ++g_allocations;
    return std::malloc(size);
}
// Not inlined: the compiler would take free() for the wrong partner of operator new.
[[gnu::noinline]] void operator delete(void* p) noexcept {
    std::free(p);
}
[[gnu::noinline]] void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace tests {

using namespace drivers::raster;

namespace {

TEST(TextRenderer, RedrawingAllocatesNothing) {
    TextRenderer text;
    struct Nothing {
        void BlendMask(int, int, unsigned char const*, int, int, std::ptrdiff_t) {}
    } nothing;
    auto const draw = [&] {
        text.Draw(nothing, {3.4, 5}, TextStyle(), "One line\nand another \xD7\xA9");
        text.Draw(nothing, {3, 5}, {"Liberation Sans", 9, 9}, "turned", {0.8, -0.6, 0.6, 0.8});
        text.Measure(TextStyle(), "One line");
    };
    draw();
    int const before = g_allocations;
    draw();
    EXPECT_EQ(g_allocations, before);
}

} // namespace

} // namespace tests
