// The viewer as its users start it.

#include "cimage/ImageIO.h"
#include "cimage/TImage.h"
#include "kiv/ini/INIFile.h"
#include "sdl/XServer.h"
#include "support/OutputFolder.h"

#include <boost/filesystem/operations.hpp>
#include <boost/property_tree/ptree.hpp>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace {

using namespace tests;
using RGB = cimage::TRGB<unsigned char>;

struct Viewer : testing::Test {
    Viewer() {
        cimage::TImage<unsigned char> grey(300, 200);
        cimage::TImage<cimage::TRGB<unsigned short>> deep(64, 64);
        for (unsigned y = 0; y < 64; ++y) {
            std::fill_n(deep[y], 64, cimage::TRGB<unsigned short>(51400, 0, 25700));
        }
        cimage::Save(folder.Path("frame2.png"), grey, {});
        cimage::Save(folder.Path("frame10.png"), deep, {});
        std::ofstream(folder.Path("notes.txt")) << "no image";
        std::ofstream(folder.Path("frame11.png")) << "no image either";
        std::ofstream(ini) << "; mine\nQUARNVIEW = 50,60,500,400\n";
        unsetenv("DISPLAY");
    }

    std::vector<std::string> Command(std::string const& option) const {
        return {QUARN_VIEWER, "--ini", ini, "--output", views, option, folder.path.string()};
    }
    RGB PixelOf(std::string const& view, unsigned x, unsigned y) {
        cimage::TImage<RGB> picture;
        boost::property_tree::ptree metadata;
        cimage::Load(views + "/" + view, picture, metadata);
        EXPECT_EQ(picture.Width() * 1000 + picture.Height(), 500400U) << "as it was left";
        return picture(x, y);
    }

    OutputFolder folder;
    std::string const views = folder.Path("views");
    std::string const ini = folder.Path("view.ini");
};

TEST_F(Viewer, SavesViewsWithoutADisplay) {
    EXPECT_EQ(Process(Command("--save-views")).Wait(), 0);
    EXPECT_EQ(PixelOf("frame2-view.png", 250, 200), RGB(0, 0, 0)) << "in the middle";
    EXPECT_EQ(PixelOf("frame2-view.png", 90, 200), RGB(40, 40, 40)) << "as it is, not enlarged";
    EXPECT_EQ(PixelOf("frame10-view.png", 250, 200), RGB(200, 0, 100));
    EXPECT_EQ(Process(Command("--verbose")).Wait(), 1) << "nobody would see it";
    EXPECT_EQ(Process(Command("--nonsense")).Wait(), 2);
}

TEST_F(Viewer, ShowsOneImageAfterTheOther) {
    if (!XServer::IsThere()) {
        GTEST_SKIP() << "Xvfb, xdotool and openbox are not installed";
    }
    XServer const server(true);
    setenv("DISPLAY", server.Display().c_str(), 1);
    Process viewer(Command("--verbose"));
    auto const hands = [](std::string const& arguments) {
        return std::system(("timeout 20 xdotool " + arguments + " >/dev/null").c_str());
    };
    EXPECT_EQ(
        hands("search --sync --onlyvisible --name 'frame2.png .1 of 3.' windowfocus --sync"), 0);
    EXPECT_EQ(hands("key space search --sync --name 'frame10.png .2 of 3.'"), 0);
    EXPECT_EQ(hands("key 0 key n search --sync --name 'frame11.png .3 of 3.'"), 0);
    EXPECT_EQ(hands("key p search --sync --name 'frame10.png .2 of 3.' key s"), 0);
    EXPECT_EQ(hands("key Home search --sync --name 'frame2.png .1 of 3.'"), 0);
    EXPECT_EQ(hands("key Left search --sync --name 'frame11.png .3 of 3.'"), 0);
    EXPECT_EQ(hands("search --name 'frame11.png' windowmove %1 70 80"), 0);
    EXPECT_EQ(hands("key q"), 0);
    EXPECT_EQ(viewer.Wait(), 0);
    EXPECT_EQ(PixelOf("frame10-view.png", 60, 10), RGB(200, 0, 100)) << "fills the window, still";
    kiv::ini::INIFile settings(ini);
    std::string const place = settings.Get("QUARNVIEW", "");
    EXPECT_NE(place, "50,60,500,400") << "remembers where it was moved to";
    EXPECT_EQ(place.substr(place.size() - 8), ",500,400");
}

} // namespace
