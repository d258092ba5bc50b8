// How texels are mixed where an image is drawn at another size than its own, upright and turned.

#include "raster/CanvasHelpers.h"

#include <cmath>
#include <memory>
#include <random>

namespace tests {

namespace {

using Bytes = std::vector<unsigned char>;
using drivers::raster::Workers;

/// Columns of one texel, black and white in turn: a pixel that is no mean of many is not grey.
Bytes Stripes(std::size_t size, std::size_t channels = 1) {
    Bytes texels(size * size * channels);
    for (std::size_t i = 0; i < texels.size(); ++i) {
        texels[i] = i / channels % 2 == 0 ? 0 : 255;
    }
    return texels;
}

Texture Square(Bytes const& texels, int size, Texture::Format format) {
    auto const texelBytes = texels.size() / static_cast<std::size_t>(size * size);
    return {texels.data(), size, size, texelBytes * static_cast<std::size_t>(size), format};
}

/// An image around the centre of the picture, turned.
std::vector<TextureVertex> TurnedQuad(float size, double degrees, float centre = 32) {
    std::vector<TextureVertex> quad = ImageQuad(-size / 2, -size / 2, size / 2, size / 2);
    double const c = degrees == 90 ? 0 : std::cos(degrees * 3.14159265358979 / 180);
    double const s = std::sqrt(1 - c * c);
    for (TextureVertex& v : quad) {
        v = {
            v.s,
            v.t,
            centre + static_cast<float>(c * v.x - s * v.y),
            centre + static_cast<float>(s * v.x + c * v.y),
            0};
    }
    return quad;
}

TEST(CanvasFilter, PansAtHalfSizeNeverPickOutTexels) {
    Bytes const texels = Stripes(64);
    std::minstd_rand random(11);
    for (int pan = 0; pan < 200; ++pan) {
        auto const x = static_cast<float>(random() % 70000) / 100;
        auto const y = static_cast<float>(random() % 700) / 100;
        std::vector<TextureVertex> quad = ImageQuad(x, y, x + 32, y + 32);
        for (TextureVertex& corner : quad) {
            if (pan % 2 != 0) { // no longer upright
                std::swap(corner.s, corner.t);
            }
        }
        Canvas canvas = MakeCanvas(740, 40);
        canvas.State().texture = Square(texels, 64, Texture::Format::Grey8);
        canvas.Quads(Vertices(quad));
        for (int i = 0; i < 30 * 30; ++i) {
            Colour const c =
                canvas.Read(static_cast<int>(x) + 1 + i % 30, static_cast<int>(y) + 1 + i / 30);
            ASSERT_NEAR(c.r, 127.5, 1) << x << ", " << y << ", turned: " << pan % 2;
        }
    }
}

TEST(CanvasFilter, TexelsWithoutAlphaLeaveNoFringes) {
    // Areas of opaque white in what was keyed out, which is green.
    Bytes texels;
    for (int i = 0; i < 32 * 32; ++i) {
        bool const seen = (i % 7 < 3) != (i / 32 % 5 < 2);
        texels.insert(texels.end(), {255, 255, 255, 255});
        if (!seen) {
            texels[texels.size() - 4] = texels[texels.size() - 2] = texels.back() = 0;
        }
    }
    for (Texture::Format const format : {Texture::Format::RGBA8, Texture::Format::BGRA8}) {
        for (float const size : {2.0F, 7.0F, 15.5F, 60.0F}) {
            for (double const degrees : {0.0, 90.0, 30.0}) {
                Canvas canvas = MakeCanvas();
                canvas.State().texture = Square(texels, 32, format);
                canvas.State().blend = true;
                canvas.State().bilinear = true;
                canvas.Quads(Vertices(TurnedQuad(size, degrees)));
                int mixed = 0;
                ForPixels(canvas, [&](int x, int y, Colour c) {
                    ASSERT_TRUE(c.r == c.g && c.g == c.b)
                        << size << ", " << degrees << " at " << x << ", " << y << ": " << int{c.r}
                        << ' ' << int{c.g} << ' ' << int{c.b};
                    mixed += c.r > 20 && c.r < 235;
                });
                EXPECT_GT(mixed, 3) << size << ", " << degrees;
            }
        }
    }
    // A fourth of the whole, in colour and alpha.
    Bytes const four{255, 255, 255, 255, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0};
    Canvas canvas = MakeCanvas(1, 1);
    canvas.State().texture = Square(four, 2, Texture::Format::RGBA8);
    for (bool const blend : {true, false}) {
        canvas.State().blend = blend;
        canvas.Quads(Vertices(ImageQuad(0, 0, 1, 1)));
        auto const expected = static_cast<unsigned char>(blend ? 64 : 255);
        EXPECT_EQ(canvas.Read(0, 0), Colour(expected, expected, expected, 255));
    }
}

TEST(CanvasFilter, EvenAlphaChangesNoColour) {
    std::minstd_rand random(5);
    Bytes colours(40 * 40 * 3);
    for (unsigned char& byte : colours) {
        byte = static_cast<unsigned char>(random() >> 8);
    }
    for (unsigned char const alpha : {std::uint8_t{0}, std::uint8_t{255}}) {
        Bytes texels;
        for (std::size_t i = 0; i < colours.size(); i += 3) {
            texels.insert(texels.end(), {colours[i], colours[i + 1], colours[i + 2], alpha});
        }
        for (float const size : {1.0F, 4.2F, 13.0F, 20.0F, 60.5F}) {
            for (double const degrees : {0.0, 90.0, 20.0}) {
                Canvas with = MakeCanvas();
                with.State().texture = Square(texels, 40, Texture::Format::RGBA8);
                with.State().bilinear = true;
                with.Quads(Vertices(TurnedQuad(size, degrees)));
                Canvas without = MakeCanvas();
                without.State().texture = Square(colours, 40, Texture::Format::RGB8);
                without.State().bilinear = true;
                without.Quads(Vertices(TurnedQuad(size, degrees)));
                ExpectSame(with, without, 0, std::to_string(size) + " " + std::to_string(degrees));
            }
        }
    }
}

TEST(CanvasFilter, FarAwayStripesAreGrey) {
    Bytes const grey = Stripes(1024);
    Bytes const colours = Stripes(1024, 3);
    for (double const degrees : {0.0, 90.0, 30.0}) {
        for (float const size : {64.0F, 32.0F, 23.0F}) {
            for (Texture const& texture :
                 {Square(grey, 1024, Texture::Format::Grey8),
                  Square(colours, 1024, Texture::Format::RGB8)}) {
                auto const draw = [&](unsigned threads) {
                    Canvas canvas = MakeCanvas();
                    canvas.SetWorkers(Workers::Shared(threads));
                    canvas.SetWorthSharing(0);
                    canvas.State().texture = texture;
                    canvas.Quads(Vertices(TurnedQuad(size, degrees)));
                    return canvas;
                };
                Canvas const one = draw(1);
                ForPixels(one, [&](int x, int y, Colour c) {
                    ASSERT_TRUE(c == kBlack || std::abs(c.g - 127.5) <= 3)
                        << size << ", " << degrees << " at " << x << ", " << y << ": " << int{c.g};
                });
                EXPECT_GT(LitPixels(one), size * size * 0.8F);
                ExpectSame(one, draw(5), 0, "threads");
            }
        }
    }
}

TEST(CanvasFilter, ImagesTooLargeForAllTheirLevelsAreMeansToo) {
    Bytes const row = Stripes(128); // one row of 16384 texels, again and again
    Canvas canvas = MakeCanvas();
    canvas.State().texture = {row.data(), 16384, 16384, 0, Texture::Format::Grey8};
    canvas.Quads(Vertices(TurnedQuad(64, 90)));
    EXPECT_EQ(LitPixels(canvas), 64 * 64);
    ForPixels(canvas, [](int, int, Colour c) { ASSERT_NEAR(c.r, 127.5, 1); });
}

TEST(CanvasFilter, EachImageOfAFrameIsSeenAsItIsInThatFrame) {
    std::vector<Bytes> images;
    for (int i = 0; i < 6; ++i) {
        images.emplace_back(99 * 99, static_cast<unsigned char>(40 * i + 10));
    }
    Canvas canvas = MakeCanvas();
    for (int frame = 0; frame < 3; ++frame) {
        canvas.Clear(kBlack);
        for (int pass = 0; pass < 2; ++pass) {
            for (Bytes const& image : images) {
                canvas.State().texture = Square(image, 99, Texture::Format::Grey8);
                canvas.Quads(Vertices(TurnedQuad(5, 30)));
                EXPECT_EQ(canvas.Read(32, 32).r, image[0]);
            }
        }
        for (Bytes& image : images) {
            image.assign(image.size(), static_cast<unsigned char>(image[0] + 1));
        }
    }
}

TEST(CanvasFilter, ImagesTurnedByARightAngleOneToOneAreCopies) {
    std::minstd_rand random(9);
    Bytes texels(40 * 40 * 4);
    for (unsigned char& byte : texels) {
        byte = static_cast<unsigned char>(random() >> 8);
    }
    for (bool const bilinear : {false, true}) {
        Canvas canvas = MakeCanvas();
        canvas.State().texture = Square(texels, 40, Texture::Format::RGBA8);
        canvas.State().bilinear = bilinear;
        canvas.Quads(Vertices(TurnedQuad(40, 90)));
        for (int i = 0; i < 40 * 40; ++i) {
            unsigned char const* const texel = &texels[static_cast<std::size_t>(i) * 4];
            ASSERT_EQ(
                canvas.Read(12 + 39 - i / 40, 12 + i % 40),
                Colour(texel[0], texel[1], texel[2], 255))
                << i << ", " << bilinear;
        }
    }
}

} // namespace

} // namespace tests
