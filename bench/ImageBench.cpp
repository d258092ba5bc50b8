#include "bench/Compare.h"
#include "cimage/ImageIO.h"
#include "cimage/TImage.h"
#include "drivers/raster/TextRenderer.h"
#include "ui/win/CWidget.h"
#include "ui/win/CWindow.h"
#include "ui/win/image/CWindowImageConverter.h"

#include <boost/make_shared.hpp>
#include <boost/property_tree/ptree.hpp>

#include <png.h>
#include <zlib.h>

#ifdef QUARN_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace bench {

namespace {

using cimage::Bayer;
using cimage::CImage;
using cimage::TImage;
using ui::win::CWindow;

using Grey = TImage<unsigned char>;
using DeepGrey = TImage<unsigned short>;
using RGB = cimage::TRGB<unsigned char>;
using RGBA = cimage::TRGBA<unsigned char>;
using SPImage = boost::shared_ptr<CImage const>;

constexpr unsigned fullWidth = 1920;
constexpr unsigned fullHeight = 1080;

CWindow MakeWindow(unsigned width = fullWidth, unsigned height = fullHeight) {
    ui::win::CreationParams params;
    params.driver = "Offscreen";
    params.title = "bench";
    params.width = width;
    params.height = height;
    return CWindow(params);
}

/// A picture with some structure: what is all the same compresses and predicts too well.
template <class P>
boost::shared_ptr<TImage<P>> MakeImage(unsigned width, unsigned height) {
    auto const image = boost::make_shared<TImage<P>>(width, height);
    unsigned seed = 1;
    for (unsigned y = 0; y < height; ++y) {
        unsigned char* const row = image->Bytes(y);
        for (std::size_t i = 0; i < width * sizeof(P); ++i) {
            seed = seed * 1664525 + 1013904223;
            row[i] = static_cast<unsigned char>(i / 8 + y / 4 + (seed >> 29));
        }
    }
    return image;
}

void CopyBytes(benchmark::State& state, std::size_t size) {
    std::vector<char> const from(size, 1);
    std::vector<char> to(size);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), size);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
}

void CopyFrame(benchmark::State& state) {
    CopyBytes(state, std::size_t{4} * fullWidth * fullHeight);
}

/// Shows two images in turn, each as fresh as a camera's.
void ShowFresh(benchmark::State& state, bool subscribed) {
    CWindow window = MakeWindow();
    unsigned checked = 0;
    if (subscribed) {
        window.Subscribe_RefreshComplete(
            [&checked](CImage const& frame) { checked += frame.Bytes(0)[0]; });
    }
    SPImage const images[2] = {
        MakeImage<RGB>(fullWidth, fullHeight), MakeImage<RGB>(fullWidth, fullHeight)};
    unsigned next = 0;
    for (auto _ : state) {
        window.Clear();
        window.DrawImage(0.0, 0.0, images[next++ & 1]);
        window.Refresh(true);
    }
    benchmark::DoNotOptimize(checked);
}

/// Redraws one drawing through a camera that moves each time.
template <class Draw>
void MoveCamera(benchmark::State& state, Draw const& draw) {
    CWindow window = MakeWindow();
    draw(window);
    window.Refresh(true); // what is done once is no part of a redraw
    int frame = 0;
    for (auto _ : state) {
        double const shift = frame++ & 1;
        window.SetVirtualView(shift, shift, fullWidth + shift, fullHeight + shift);
        window.Refresh(true);
    }
}

void MoveOverDeepCopy(benchmark::State& state) {
    MoveCamera(state, [](CWindow& window) {
        window.DrawImage(0.0, 0.0, *MakeImage<unsigned short>(fullWidth, fullHeight));
    });
}

void MoveOverGrey(benchmark::State& state) {
    MoveCamera(state, [](CWindow& window) {
        window.DrawImage(0.0, 0.0, *MakeImage<unsigned char>(fullWidth, fullHeight));
    });
}

constexpr int textCount = 500;

/// Calls draw(x, y, text) for 500 texts of 20 letters each.
template <class Draw>
void ForTexts(Draw const& draw) {
    for (int i = 0; i < textCount; ++i) {
        char text[24];
        std::snprintf(text, sizeof text, "Point%03d:x=%04d,y=%02d", i, i * 3, i % 100);
        draw(10 + i % 10 * 180, 10 + i / 10 * 20, text);
    }
}

void RedrawTexts(benchmark::State& state) {
    CWindow window = MakeWindow();
    ForTexts([&](int x, int y, char const* text) { window.DrawText(x, y, text); });
    for (auto _ : state) {
        window.Refresh(true);
    }
}

/// The masks that those texts are made of, each at its place.
struct Blits : drivers::raster::GlyphSink {
    struct Mask {
        int x, y, width, height;
        unsigned char const* coverage; ///< in the renderer's cache
    };

    Blits() {
        ForTexts([&](int x, int y, char const* text) {
            renderer.DrawTo(*this, {double(x), double(y)}, {}, text);
        });
    }
    void BlendMask(
        int x,
        int y,
        unsigned char const* coverage,
        int width,
        int height,
        std::ptrdiff_t /*stride: the width*/) override {
        masks.push_back({x, y, width, height, coverage});
    }

    drivers::raster::TextRenderer renderer;
    std::vector<Mask> masks;
};

/// Fills a frame, then puts the masks into it.
void BlitGlyphs(benchmark::State& state) {
    // Filled as words, which become wide stores.
    std::vector<std::uint32_t> frame(std::size_t{fullWidth} * fullHeight);
    Blits const blits;
    auto const mix = [](unsigned from, unsigned to, unsigned alpha) {
        unsigned const v = from * alpha + to * (255 - alpha) + 127;
        return static_cast<unsigned char>((v + 1 + (v >> 8)) >> 8);
    };
    for (auto _ : state) {
        std::fill(frame.begin(), frame.end(), 0xff000000);
        for (Blits::Mask const& mask : blits.masks) {
            unsigned char const* from = mask.coverage;
            for (int row = 0; row < mask.height; ++row, from += mask.width) {
                auto* const out = reinterpret_cast<RGBA*>(
                    frame.data() + (mask.y + row) * int{fullWidth} + mask.x);
                for (int k = 0; k < mask.width; ++k) {
                    if (unsigned const a = from[k]) {
                        out[k] = {
                            mix(255, out[k].r, a),
                            mix(255, out[k].g, a),
                            mix(255, out[k].b, a),
                            255};
                    }
                }
            }
        }
        benchmark::DoNotOptimize(frame.data());
        benchmark::ClobberMemory();
    }
}

// ---- the conversion pool

struct Pair {
    char const* name;
    unsigned source;
    unsigned destination;
    SPImage (*make)(unsigned, unsigned);
    std::size_t bytes; ///< a pixel of the destination
};

template <class P>
SPImage Make(unsigned width, unsigned height) {
    return MakeImage<P>(width, height);
}

template <class S, class D>
Pair MakePair(char const* name) {
    return {name, TImage<S>::StaticType, TImage<D>::StaticType, &Make<S>, sizeof(D)};
}

std::vector<Pair> ConvertedPairs() {
    using cimage::TBGRA;
    return {
        MakePair<unsigned char, RGB>("grey to RGB"),
        MakePair<unsigned char, RGBA>("grey to RGBA"),
        MakePair<unsigned char, TBGRA<unsigned char>>("grey to BGRA"),
        MakePair<signed char, unsigned char>("signed grey to grey"),
        MakePair<unsigned short, unsigned char>("16-bit grey to grey"),
        MakePair<short, unsigned char>("signed 16-bit grey to grey"),
        MakePair<Bayer<cimage::TRGGB<unsigned short>>, unsigned char>("16-bit mosaic to grey")};
}

void ConvertPair(benchmark::State& state, Pair const& pair) {
    SPImage const image = pair.make(fullWidth, fullHeight);
    for (auto _ : state) {
        SPImage const converted =
            ui::win::CImageConvertPool::Instance()->Convert(image, &pair.destination, 1);
        benchmark::DoNotOptimize(converted->Bytes());
    }
}

// ---- dumps

/// A folder of this run, gone with it.
struct OutputFolder {
    OutputFolder()
        : path(
              std::filesystem::temp_directory_path() /
              ("quarn_bench_" + std::to_string(::getpid()))) {
        std::filesystem::create_directories(path);
    }
    ~OutputFolder() { std::filesystem::remove_all(path); }
    OutputFolder(OutputFolder const&) = delete;
    OutputFolder& operator=(OutputFolder const&) = delete;

    std::filesystem::path path;
};

struct Output {
    explicit Output(std::string const& name) : path((folder.path / name).string()) {}
    OutputFolder folder;
    std::string path;
};

void Dump(benchmark::State& state, char const* name) {
    Output const output(name);
    auto const frame = MakeImage<RGB>(fullWidth, fullHeight);
    for (auto _ : state) {
        cimage::Save(output.path, *frame, boost::property_tree::ptree());
    }
}

void WriteOnce(benchmark::State& state) {
    Output const output("bytes");
    auto const frame = MakeImage<RGB>(fullWidth, fullHeight);
    std::size_t const size = std::size_t{3} * fullWidth * fullHeight;
    for (auto _ : state) {
        std::FILE* const file = std::fopen(output.path.c_str(), "wb");
        if (file == nullptr || std::fwrite(frame->Bytes(), 1, size, file) != size) {
            state.SkipWithError("cannot write");
        }
        if (file != nullptr) {
            std::fclose(file);
        }
    }
}

void WritePng(benchmark::State& state) {
    Output const output("bare.png");
    auto const frame = MakeImage<RGB>(fullWidth, fullHeight);
    for (auto _ : state) {
        std::FILE* const file = std::fopen(output.path.c_str(), "wb");
        png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        png_init_io(png, file);
        png_set_compression_level(png, 1);
        png_set_compression_strategy(png, Z_RLE);
        png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
        png_set_IHDR(
            png,
            info,
            fullWidth,
            fullHeight,
            8,
            PNG_COLOR_TYPE_RGB,
            PNG_INTERLACE_NONE,
            PNG_COMPRESSION_TYPE_DEFAULT,
            PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        for (unsigned y = 0; y < fullHeight; ++y) {
            png_write_row(png, frame->Bytes(y));
        }
        png_write_end(png, nullptr);
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
    }
}

#ifdef QUARN_BENCH_OPENCV

/// A frame that shows an image in a size, as OpenCV makes one: resized, with alpha.
void Resize(
    benchmark::State& state,
    unsigned width,
    unsigned height,
    unsigned shownWidth,
    unsigned shownHeight,
    int method) {
    cv::setNumThreads(1);
    auto const image = MakeImage<RGB>(width, height);
    cv::Mat const source(
        static_cast<int>(height),
        static_cast<int>(width),
        CV_8UC3,
        image->Bytes(),
        image->Stride());
    cv::Mat resized;
    for (auto _ : state) {
        cv::resize(
            source,
            resized,
            cv::Size(static_cast<int>(shownWidth), static_cast<int>(shownHeight)),
            0,
            0,
            method);
        benchmark::DoNotOptimize(resized.data);
    }
}

class SoftImages : public ui::win::CWidget {
public:
    int Draw(ui::win::CWindowCore* core) override {
        core->RunExtension("soft-image");
        return 1;
    }
};

/// The image in that size in a window that it fills, again and again.
void ShowResized(
    benchmark::State& state,
    unsigned width,
    unsigned height,
    unsigned shownWidth,
    unsigned shownHeight) {
    CWindow window = MakeWindow(shownWidth, shownHeight);
    window.push(new SoftImages);
    SPImage const image = MakeImage<RGB>(width, height);
    window.DrawImage(0, 0, shownWidth, shownHeight, image);
    for (auto _ : state) {
        window.Refresh(true);
    }
}

#endif

} // namespace

void RegisterImageFigures() {
    Compare(
        "a fresh 1080p RGB image shown",
        "memcpy of the RGBA frame",
        3,
        [](auto& state) { ShowFresh(state, false); },
        CopyFrame);
    Compare(
        "the same, delivered to a subscriber",
        "memcpy of the RGBA frame",
        6,
        [](auto& state) { ShowFresh(state, true); },
        CopyFrame);
    Compare(
        "a 16-bit image redrawn, only the camera changed",
        "a grey one that needs no conversion",
        1.1,
        MoveOverDeepCopy,
        MoveOverGrey);
    Compare(
        "10,000 glyphs in 500 texts redrawn",
        "a bare blit of cached bitmaps",
        1.5,
        RedrawTexts,
        BlitGlyphs);
    for (Pair const& pair : ConvertedPairs()) {
        Compare(
            std::string("1080p ") + pair.name,
            "memcpy of the output",
            2,
            [pair](auto& state) { ConvertPair(state, pair); },
            [pair](auto& state) { CopyBytes(state, pair.bytes * fullWidth * fullHeight); });
    }
    Compare(
        "dump of a 1080p frame, PPM",
        "one write of the same bytes",
        1.3,
        [](auto& state) { Dump(state, "frame.ppm"); },
        WriteOnce);
    Compare(
        "dump of a 1080p frame, PNG",
        "libpng, level 1, SUB, RLE",
        1.3,
        [](auto& state) { Dump(state, "frame.png"); },
        WritePng);
#ifdef QUARN_BENCH_OPENCV
    Compare(
        "640x480 stretched to 1080p, bilinear",
        "OpenCV resize linear, one thread",
        1.2,
        [](auto& state) { ShowResized(state, 640, 480, fullWidth, fullHeight); },
        [](auto& state) { Resize(state, 640, 480, fullWidth, fullHeight, cv::INTER_LINEAR); });
    Compare(
        "12 megapixels shown at 1080p",
        "OpenCV resize area, one thread",
        1.2,
        [](auto& state) { ShowResized(state, 4000, 3000, 1440, fullHeight); },
        [](auto& state) { Resize(state, 4000, 3000, 1440, fullHeight, cv::INTER_AREA); });
#endif
}

} // namespace bench
