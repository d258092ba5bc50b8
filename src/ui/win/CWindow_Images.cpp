#include "cimage/ImageIO.h"
#include "ui/win/CWindow.h"
#include "ui/win/drawables/CWidgets.h"

#include <boost/assert.hpp>
#include <boost/property_tree/ptree.hpp>

#include <algorithm>
#include <array>

// Drawables are named win::X here where a call of the window has the same name.

namespace ui::win {

namespace {

using Byte = unsigned char;
using RGB = cimage::TRGB<unsigned char>;
using RGBA = cimage::TRGBA<unsigned char>;
using Point2f = math::Point2<float>;

Point2f TopLeft(double x, double y) {
    return {static_cast<float>(x), static_cast<float>(y)};
}

/// The sums are rounded to single precision, as the corner itself is.
Point2f BottomRight(double x, double y, double w, double h) {
    return TopLeft(x, y) + TopLeft(w, h);
}

/// Four corners in single precision.
template <class T>
class Corners {
public:
    explicit Corners(math::Point3<T> const* corners) {
        for (std::size_t i = 0; i < m_corners.size(); ++i) {
            m_corners[i] = math::Point3<float>(corners[i]);
        }
    }
    math::Point3<float> const* Data() const { return m_corners.data(); }

private:
    std::array<math::Point3<float>, 4> m_corners;
};

/// A copy of the part of the pixels inside the clip rectangle; null when there is none.
template <class P>
CWindow::SPImage Clip(
    P const* pixels,
    std::size_t stride,
    unsigned width,
    unsigned height,
    math::Rect2<int> const& clip) {
    math::Rect2<int> const whole(0, 0, static_cast<int>(width), static_cast<int>(height));
    math::Rect2<int> const part = Intersect(whole, clip);
    if (part.Empty()) {
        return {};
    }
    auto const* const row =
        reinterpret_cast<Byte const*>(pixels) + static_cast<std::size_t>(part.top) * stride;
    return CopyPixels(
        reinterpret_cast<P const*>(row) + part.left,
        static_cast<std::ptrdiff_t>(stride),
        static_cast<unsigned>(part.Width()),
        static_cast<unsigned>(part.Height()));
}

} // namespace

bool CWindow::DrawImage(cimage::CImage const& image) {
    return Emplace<CopyImage>(image);
}

bool CWindow::DrawImage(SPImage const& image) {
    return Emplace<Image>(image);
}

bool CWindow::DrawImage(double x, double y, cimage::CImage const& image) {
    return DrawImage(x, y, image.Width(), image.Height(), image);
}

bool CWindow::DrawImage(double x, double y, SPImage const& image) {
    BOOST_ASSERT(image);
    return DrawImage(x, y, image->Width(), image->Height(), image);
}

bool CWindow::DrawImage(double x, double y, double w, double h, cimage::CImage const& image) {
    return Emplace<CopyImage>(TopLeft(x, y), BottomRight(x, y, w, h), image);
}

bool CWindow::DrawImage(double x, double y, double w, double h, SPImage const& image) {
    return Emplace<Image>(TopLeft(x, y), BottomRight(x, y, w, h), image);
}

template <class P>
bool CWindow::DrawImage(P const* pixels, unsigned width, unsigned height) {
    return Emplace<CopyImage>(pixels, width, height);
}

template <class P>
bool CWindow::DrawImage(double x, double y, P const* pixels, unsigned width, unsigned height) {
    return DrawImage(x, y, width, height, pixels, width, height);
}

template <class P>
bool CWindow::DrawImage(
    double x, double y, double w, double h, P const* pixels, unsigned width, unsigned height) {
    return Emplace<CopyImage>(TopLeft(x, y), BottomRight(x, y, w, h), pixels, width, height);
}

template bool CWindow::DrawImage(Byte const*, unsigned, unsigned);
template bool CWindow::DrawImage(RGB const*, unsigned, unsigned);
template bool CWindow::DrawImage(RGBA const*, unsigned, unsigned);
template bool CWindow::DrawImage(double, double, Byte const*, unsigned, unsigned);
template bool CWindow::DrawImage(double, double, RGB const*, unsigned, unsigned);
template bool CWindow::DrawImage(double, double, RGBA const*, unsigned, unsigned);
template bool CWindow::DrawImage(double, double, double, double, Byte const*, unsigned, unsigned);
template bool CWindow::DrawImage(double, double, double, double, RGB const*, unsigned, unsigned);
template bool CWindow::DrawImage(double, double, double, double, RGBA const*, unsigned, unsigned);

template <class P>
bool CWindow::DrawClippedImage(
    double x,
    double y,
    double w,
    double h,
    P const* pixels,
    unsigned width,
    unsigned height,
    math::Rect2<int> const& clip) {
    SPImage const part = Clip(pixels, width * sizeof(P), width, height, clip);
    return !part || DrawImage(x, y, w, h, part);
}

template <class P>
bool CWindow::DrawClippedImage(
    double x,
    double y,
    double w,
    double h,
    cimage::TImage<P> const& image,
    math::Rect2<int> const& clip) {
    SPImage const part = Clip(image[0], image.Stride(), image.Width(), image.Height(), clip);
    return !part || DrawImage(x, y, w, h, part);
}

template bool CWindow::DrawClippedImage(
    double, double, double, double, Byte const*, unsigned, unsigned, math::Rect2<int> const&);
template bool CWindow::DrawClippedImage(
    double, double, double, double, RGB const*, unsigned, unsigned, math::Rect2<int> const&);
template bool CWindow::DrawClippedImage(
    double, double, double, double, cimage::TImage<Byte> const&, math::Rect2<int> const&);
template bool CWindow::DrawClippedImage(
    double, double, double, double, cimage::TImage<RGB> const&, math::Rect2<int> const&);

template <class T>
bool CWindow::DrawImage(math::Point3<T> const* corners, cimage::CImage const& image) {
    return Emplace<CopyImageTexture>(Corners<T>(corners).Data(), image);
}

template <class T>
bool CWindow::DrawImage(math::Point3<T> const* corners, SPImage const& image) {
    return Emplace<ImageTexture>(Corners<T>(corners).Data(), image);
}

template <class P, class T>
bool CWindow::DrawImage(
    math::Point3<T> const* corners, P const* pixels, unsigned width, unsigned height) {
    return DrawImage(corners, pixels, static_cast<long>(width * sizeof(P)), width, height);
}

template <class P, class T>
bool CWindow::DrawImage(
    math::Point3<T> const* corners, P const* pixels, long stride, unsigned width, unsigned height) {
    return Emplace<CopyImageTexture>(Corners<T>(corners).Data(), pixels, stride, width, height);
}

template bool CWindow::DrawImage(math::Point3<float> const*, cimage::CImage const&);
template bool CWindow::DrawImage(math::Point3<double> const*, cimage::CImage const&);
template bool CWindow::DrawImage(math::Point3<float> const*, SPImage const&);
template bool CWindow::DrawImage(math::Point3<double> const*, SPImage const&);
template bool CWindow::DrawImage(math::Point3<float> const*, Byte const*, unsigned, unsigned);
template bool CWindow::DrawImage(math::Point3<double> const*, Byte const*, unsigned, unsigned);
template bool CWindow::DrawImage(math::Point3<float> const*, RGB const*, unsigned, unsigned);
template bool CWindow::DrawImage(math::Point3<double> const*, RGB const*, unsigned, unsigned);
template bool CWindow::DrawImage(math::Point3<float> const*, Byte const*, long, unsigned, unsigned);
template bool
CWindow::DrawImage(math::Point3<double> const*, Byte const*, long, unsigned, unsigned);
template bool CWindow::DrawImage(math::Point3<float> const*, RGB const*, long, unsigned, unsigned);
template bool CWindow::DrawImage(math::Point3<double> const*, RGB const*, long, unsigned, unsigned);

bool CWindow::BindImage(cimage::CImage const& image) {
    return Emplace<win::BindImage>(CopyOf(image));
}

bool CWindow::BindImage(SPImage const& image) {
    return Emplace<win::BindImage>(image);
}

bool CWindow::DrawImageFile(std::string const& path, float x, float y, float w, float h) {
    SPImage const image = MakeConstant(cimage::CreateFromFile(path, boost::property_tree::ptree()));
    return DrawImage(x, y, w, h, image);
}

template <class I, class X>
bool CWindow::DrawXImageFile(
    std::string const& path, float x, float y, float w, float h, X const& option) {
    I image;
    boost::property_tree::ptree metadata;
    cimage::Load(path, image, metadata);
    return DrawXImage(x, y, w, h, image, option);
}

template bool CWindow::DrawXImageFile<XColour, XColorKey>(
    std::string const&, float, float, float, float, XColorKey const&);

template <class I, class X>
bool CWindow::DrawXImage(double x, double y, double w, double h, I const& image, X const& option) {
    typename XOutput<X>::type output(image.Width(), image.Height());
    XImgProc(image, option, output);
    return DrawImage(x, y, w, h, output);
}

template bool CWindow::DrawXImage(double, double, double, double, XColour const&, XColorKey const&);
template bool CWindow::DrawXImage(double, double, double, double, XGrey const&, XOpacity const&);
template bool CWindow::DrawXImage(double, double, double, double, XGrey const&, XColorKey const&);
template bool
CWindow::DrawXImage(double, double, double, double, XColour const&, XConversion const&);
template bool CWindow::DrawXImage(double, double, double, double, XGrey const&, XConversion const&);
template bool CWindow::DrawXImage(double, double, double, double, XColour const&, XFilter const&);
template bool CWindow::DrawXImage(double, double, double, double, XGrey const&, XFilter const&);

} // namespace ui::win
