#include "kiv/Diagnostics.h"

#include "support/CapturedOutput.h"

#include <boost/current_function.hpp>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(Diagnostics, LocationIsTheScopeThatHoldsTheFunction) {
    struct {
        char const* signature;
        char const* location;
    } const cases[] = {
        {"bool ui::win::CWindowCoreManager::PushEvent(const CWindowEvent&)", "CWindowCoreManager"},
        {"ui::win::CWindowCoreManager::Plugin* ui::win::CWindowCoreManager::InsertPlugin(const "
         "string&)",
         "CWindowCoreManager"},
        {"ui::win::Plugin *ui::win::CManager::InsertPlugin(const string &)", "CManager"},
        {"timeval ui::win::GetCurrentTime()", "win"},
        {"virtual ui::win::CWindow::~CWindow()", "CWindow"},
        {"kiv::A<T>::A(std::pair<a::b, c>) [with T = std::vector<x::y>]", "A<T>"},
        {"std::map<a::b, c::d> ui::A<void (e::f)>::g() [T = void (e::f)]", "A<void (e::f)>"},
        {"bool ui::A::operator()(b::c) const", "A"},
        {"std::ostream& ui::operator<<(std::ostream&, const A&)", "ui"},
        {"bool ui::A::operator<(const b::A&) const", "A"},
        {"ui::A::operator std::string() const", "A"},
        {"void ui::{anonymous}::B::f()", "B"},
        {"void ui::(anonymous namespace)::B::f()", "B"},
        {"ui::B::f(int)::<lambda(c::d)>", "B"},
        {"std::string free()", "free"},
        {"int main(int, char**)", "main"},
        {"", ""},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(kiv::Location(c.signature), c.location) << c.signature;
    }
}

TEST(Diagnostics, LinesOfManyThreadsStayWhole) {
    tests::CapturedOutput const captured;
    std::string const message(200, 'x');
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 200; ++n) {
                kiv::Diagnose("[II]", "void a::B::c()", message);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    std::istringstream lines(captured.Text());
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        ASSERT_EQ(line, "[II] B: " + message);
    }
    EXPECT_EQ(count, 800);
}

} // namespace
