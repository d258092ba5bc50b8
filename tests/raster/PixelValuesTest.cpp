#include "drivers/raster/CRasterCoreManager.h"
#include "drivers/support/RenderThread.h"
#include "raster/CanvasHelpers.h"
#include "support/TestParams.h"

#include <boost/make_shared.hpp>

#include <functional>

namespace tests {

namespace {

using namespace ui::win;
using drivers::raster::TextAlignX;
using drivers::raster::TextAlignY;
using drivers::raster::TextRenderer;
using drivers::raster::TextStyle;
using P2 = math::Point2<float>;
using RGB = cimage::TRGB<unsigned char>;

/// A core whose pictures are looked at, drawn into on the test's own thread, in pixels.
class Core : public drivers::raster::CRasterCoreManager {
public:
    Core()
        : CRasterCoreManager(
              MakeParams("", 200, 120), boost::make_shared<drivers::support::RenderThread>()) {
        CollectPixelValues();
    }
    ~Core() override { Shutdown(); }
    std::string GetConnectionString() const override { return ""; }
    using CRasterCoreManager::Picture;
    using CRasterCoreManager::ShownPicture;

    void Frame(std::function<void()> const& draw) {
        BeginFrame();
        SetViewPort(ViewPortPixels, nullptr, {});
        draw();
        FinishFrame();
    }
    /// Pixels in which what is shown differs from the picture itself.
    int Values() {
        int count = 0;
        ForPixels(ShownPicture(), [&](int x, int y, Colour shown) {
            EXPECT_EQ(Picture().Read(x, y).a, 255);
            count += shown == Picture().Read(x, y) ? 0 : 1;
        });
        return count;
    }
};

template <class P>
boost::shared_ptr<cimage::TImage<P>> MakeImage(unsigned width, unsigned height) {
    return boost::make_shared<cimage::TImage<P>>(width, height);
}

TEST(PixelValues, AreWhatIsStoredWhereItIsShown) {
    Core core;
    auto const image = MakeImage<unsigned short>(3, 2);
    (*image)(0, 0) = 65535;
    (*image)(1, 0) = 256;
    (*image)(2, 1) = 40000;
    core.Frame([&] { core.DrawImage(P2(10, 20), P2(10 + 3 * 48, 20 + 2 * 40), image); });
    Canvas expected;
    expected.Resize(200, 120);
    TextRenderer text;
    TextStyle style;
    style.width = style.height = 12; // five digits in 48 - 4 pixels
    style.alignX = TextAlignX::Centre;
    style.alignY = TextAlignY::Centre;
    for (unsigned y = 0; y < 2; ++y) {
        for (unsigned x = 0; x < 3; ++x) {
            unsigned const count = (*image)(x, y);
            auto const grey = static_cast<unsigned char>(count >> 8);
            expected.State().colour = {grey, grey, grey, 255};
            expected.Box(10 + x * 48, 20 + y * 40, 58 + x * 48, 60 + y * 40, true);
            expected.State().colour =
                count > 32767 ? Colour(0, 0, 0, 255) : Colour(255, 255, 255, 255);
            text.Draw(
                expected, {10 + (x + 0.5) * 48, 20 + (y + 0.5) * 40}, style, std::to_string(count));
        }
    }
    ExpectSame(core.ShownPicture(), expected, 0, "values");
}

TEST(PixelValues, ComeWithLargePixelsOnlyAndNeverIntoThePictureItself) {
    struct {
        char const* what;
        float width;
        float height;
        bool values;
    } const cases[] = {
        {"exactly large enough", 64, 64, true},
        {"too narrow", 63.9F, 64, false},
        {"too low", 64, 63.9F, false},
        {"mirrored", -64, 64, true},
    };
    Core core;
    auto const image = MakeImage<RGB>(2, 2);
    for (auto const& c : cases) {
        core.Frame([&] { core.DrawImage(P2(70, 0), P2(70 + c.width, c.height), image); });
        EXPECT_EQ(core.Values() > 0, c.values) << c.what;
    }
    core.Frame([&] { core.DrawImage(P2(70, 0), P2(134, 64), image); });
    int const all = core.Values();
    cimage::TImage<RGB> grabbed;
    core.GetImage(grabbed);
    EXPECT_EQ(grabbed(86, 16), RGB(0, 0, 0));
    core.Frame([&] {
        core.DrawImage(P2(70, 0), P2(134, 64), image);
        core.SetColor({0, 0, 0, 255});
        core.DrawBox(70, 0, 102, 64, true); // the colour that is there already
    });
    EXPECT_EQ(core.Values() * 2, all) << "covered by what is drawn over the image";
    core.Frame([&] {
        core.DrawImage(P2(70, 0), P2(134, 64), image);
        core.DrawImage(P2(70, 0), P2(134, 64), MakeImage<unsigned char>(8, 8));
    });
    EXPECT_EQ(core.Values(), 0);
    core.ShowPixelValues(false);
    core.Frame([&] { core.DrawImage(P2(70, 0), P2(134, 64), image); });
    EXPECT_EQ(core.Values(), 0);
}

} // namespace

} // namespace tests
