#include "cimage/ImageIO.h"

#include "NoiseImages.h"
#include "support/FullDisk.h"
#include "support/OutputFolder.h"
#include "support/Thrown.h"

#include <boost/property_tree/ptree.hpp>

#include <gmock/gmock.h>
#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>
#include <unistd.h>
#include <zlib.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace cimage;
using boost::property_tree::ptree;
using testing::AllOf;
using testing::HasSubstr;
using uchar = unsigned char;
using ushort = unsigned short;
using Grey = TImage<uchar>;
using Rgb8 = TRGB<uchar>;
using Rgba8 = TRGBA<uchar>;
using Rgba16 = TRGBA<ushort>;

class ImageIO : public testing::Test {
protected:
    std::string Path(std::string const& name) const { return m_folder.Path(name); }

    std::ptrdiff_t FilesInFolder() const {
        return std::distance(fs::directory_iterator(m_folder.path), fs::directory_iterator());
    }

    /// What the failure says; nothing may appear on the error stream.
    template <class Action>
    static std::string Failure(Action const& action) {
        testing::internal::CaptureStderr();
        std::string const reason = tests::Thrown(action);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        return reason;
    }
    static std::string ReadFailure(std::string const& path) {
        return Failure([&] { CreateFromFile(path, ptree()); });
    }

    tests::OutputFolder m_folder;
};

void ExpectSamePixels(CImage const& a, CImage const& b, std::string const& what) {
    ASSERT_EQ(a.Type(), b.Type()) << what;
    ASSERT_EQ(a.Width(), b.Width()) << what;
    ASSERT_EQ(a.Height(), b.Height()) << what;
    for (unsigned y = 0; y < a.Height(); ++y) {
        ASSERT_TRUE(std::equal(a.Bytes(y), a.Bytes(y) + a.Width() * a.BytesPerPixel(), b.Bytes(y)))
            << what << ", row " << y;
    }
}

TEST_F(ImageIO, EveryTypeComesBackAsTheFormatHoldsIt) {
    enum : unsigned { U8 = 1, U16 = 3, RGB8 = 13, RGBA8 = 14, RGB16 = 16, RGBA16 = 17 };
    // Stored by PNG and TIFF, and by PNM files without alpha.
    unsigned const storedAs[] = {
        0, U8, U8, U16, U16, U8, U8, U8, U8, U16, U16, U16, U16, RGB8, RGBA8, RGBA8, RGB16, RGBA16};
    for (unsigned width : {5U, 16U}) {
        auto const images = MakeOneOfEach(width, 7);
        for (unsigned type = 1; type < images.size(); ++type) {
            unsigned const stored = storedAs[type];
            bool const deep = stored == U16 || stored == RGB16 || stored == RGBA16;
            unsigned const grey = deep ? U16 : U8;
            unsigned const colour = deep ? RGB16 : RGB8;
            std::pair<char const*, unsigned> const expectations[] = {
                {"a.png", stored},
                {"a.TIFF", stored},
                {"a.tif", stored},
                {"a.pgm", grey},
                {"a.Ppm", colour},
                {"a.pnm", stored < RGB8 ? grey : colour}};
            for (auto const& expected : expectations) {
                Save(Path(expected.first), *images[type], ptree());
                ptree metadata;
                auto const read = Load(Path(expected.first), metadata);
                auto const wanted = images[expected.second]->Clone();
                bool const isMosaic = type >= 5 && type <= 12;
                ConvertAs(isMosaic ? stored : type, *images[type], *wanted);
                ExpectSamePixels(
                    *read, *wanted, expected.first + (" of type " + std::to_string(type)));
                EXPECT_TRUE(metadata.empty());
            }
        }
    }
}

TEST_F(ImageIO, JpegStaysCloseToTheImage) {
    TImage<Rgba16> image(33, 17);
    Grey grey(33, 17);
    for (unsigned y = 0; y < 17; ++y) {
        for (unsigned x = 0; x < 33; ++x) {
            image(x, y) = {static_cast<ushort>(x * 1900), static_cast<ushort>(y * 3800), 9000, 0};
            grey(x, y) = static_cast<uchar>(x * 7);
        }
    }
    ptree metadata;
    TImage<Rgb8> read;
    Save(Path("a.JPG"), image, ptree());
    Load(Path("a.JPG"), read, metadata);
    ASSERT_EQ(read.Width(), 33U);
    for (unsigned y = 0; y < 17; ++y) {
        for (unsigned x = 0; x < 33; ++x) {
            EXPECT_NEAR(read(x, y).r, image(x, y).r >> 8, 12) << x << " " << y;
            EXPECT_NEAR(read(x, y).b, 9000 >> 8, 12) << x << " " << y;
        }
    }
    Save(Path("b.jpeg"), grey, ptree());
    EXPECT_EQ(Load(Path("b.jpeg"), metadata)->Type(), Grey::StaticType);
}

TEST_F(ImageIO, MetadataComesBackFromEveryFormat) {
    std::string const utf8 = "gr\xC3\xBC\xC3\x9F \xC2\xB5m";
    ptree metadata;
    metadata.put("Title", "a: b # c\\n");
    metadata.put("Camera.Model", "M-1");
    metadata.put("Camera.Lens.Focal length", "8.5");
    metadata.put("Lines", "first\n\n\tthird \n");
    metadata.put("Unit", utf8);
    metadata.put("Empty", "");
    std::string bytes = "\r\n\r\r\n\n\t\v \r";
    for (int byte = 1; byte < 256; ++byte) {
        bytes += static_cast<char>(byte); // and so no UTF-8
    }
    metadata.put("Bytes", bytes + "\r");
    metadata.put("Software", bytes); // a text tag of its own in TIFF
    ptree const kept = metadata;
    metadata.put("_private.key", "secret");
    metadata.put("Camera._serial", "secret");
    metadata.push_back({"", ptree("secret")});
    for (char const* name : {"a.png", "a.tif", "a.pgm", "a.ppm", "a.jpg"}) {
        Save(Path(name), Grey(3, 3), metadata);
        ptree read;
        auto const image = Load(Path(name), read);
        EXPECT_EQ(read, kept) << name;
        EXPECT_EQ(image->Metadata(), kept) << name;
        EXPECT_EQ(m_folder.Read(name).find("secret"), std::string::npos) << name;
    }
}

TEST_F(ImageIO, MetadataThatTheFormatCannotHoldIsLeftOut) {
    ptree metadata;
    metadata.push_back({std::string(80, 'k'), ptree("x")});
    metadata.push_back({"line\nend", ptree("x")});
    metadata.put("Software", std::string("be\0fore", 7));
    metadata.put("Long", std::string(70000, 'x')); // longer than a JPEG comment
    for (char const* name : {"a.png", "a.tif", "a.pgm", "a.jpg"}) {
        Save(Path(name), Grey(3, 3), metadata);
        ptree read;
        Load(Path(name), read);
        bool const isJpeg = fs::path(name).extension() == ".jpg";
        EXPECT_EQ(read.get("Software", ""), "before") << name;
        EXPECT_EQ(read.get("Long", "").size(), isJpeg ? 0U : 70000U) << name;
        EXPECT_EQ(read.size(), isJpeg ? 1U : 2U) << name;
    }
}

TEST_F(ImageIO, ForeignCommentsAreKept) {
    auto const image = CreateFromFile(
        m_folder.Write("a.pgm", "P5 #made by hand\r\n# CREATOR: Someone\n#plain\n1 1\n255\nx"),
        ptree());
    EXPECT_EQ(image->Metadata().get("Comment", ""), "made by hand");
    EXPECT_EQ(image->Metadata().get("CREATOR", ""), "Someone");
    EXPECT_EQ(image->Row<char>(0)[0], 'x');
}

TEST_F(ImageIO, KeysThatAreNoPathsAreKeptAsTheyAre) {
    for (char const* key : {".", "A.", ".A", "A..B"}) {
        std::string path =
            m_folder.Write("a.pgm", std::string("P5\n# ") + key + ": 7\n1 1\n255\nx");
        for (char const* name : {"a.png", "a.tif", "b.pgm"}) {
            auto const image = CreateFromFile(path, ptree());
            ASSERT_EQ(image->Metadata().size(), 1U) << path << key;
            EXPECT_EQ(image->Metadata().front().first, key);
            EXPECT_EQ(image->Metadata().front().second.data(), "7");
            path = Path(name);
            Save(path, *image, image->Metadata());
        }
    }
}

TEST_F(ImageIO, PnmCountsAreScaledToTheWholeRange) {
    struct {
        std::string content;
        std::vector<unsigned> counts;
        bool deep;
    } const table[] = {
        {"P2 3 1 255\n0 128 255", {0, 128, 255}, false},
        {"P2\n#c\n3 #d\n1\n1\n0 1\n#e\n1", {0, 255, 255}, false},
        {"P2 3 1 15 1 7 15\n", {17, 119, 255}, false},
        {"P2 3 1 1000 0 1 1000", {0, 66, 65535}, true},
        {"P2 3 1 65535 0 258 65535", {0, 258, 65535}, true},
        {"P3 1 1 255 1 2 3", {1, 2, 3}, false},
        {"P5 3 1 255\n\n\x80\xFF", {10, 128, 255}, false},
        {"P5 3 1 100\n\x01\x32\x64", {3, 128, 255}, false},
        {std::string("P5 3 1 65535\n\x01\x02\xFF\x00\x00\xFF", 19), {258, 65280, 255}, true},
        {std::string("P6 1 1 1023\n\x03\xFF\x00\x00\x02\x00", 18), {65535, 0, 32800}, true},
    };
    for (auto const& c : table) {
        auto const image = CreateFromFile(m_folder.Write("a.pnm", c.content), ptree());
        ASSERT_EQ(image->BytesPerPixel() * image->Width(), c.deep ? 6U : 3U) << c.content;
        for (unsigned i = 0; i < 3; ++i) {
            unsigned const count = c.deep ? image->Row<ushort>(0)[i] : image->Row<uchar>(0)[i];
            EXPECT_EQ(count, c.counts[i]) << c.content;
        }
    }
}

TEST_F(ImageIO, BrokenFilesAreRefusedWithPathAndReason) {
    std::pair<std::string, char const*> const table[] = {
        {"", "the file is empty"},
        {"GIF89a", "format is unknown"},
        {"P", "format is unknown"},
        {"P4 8 1\nx", "not supported"},
        {"P5 0 4 255\n", "no pixels"},
        {"P5 4 0 255\n", "no pixels"},
        {"P5 -1 4 255\n", "a number is expected"},
        {"P5 1 1x 255\nx", "followed by something else"},
        {"P5 99999999999999999999 1 255\n", "too large"},
        {"P5 4294967297 1 255\nx", "too large"},
        {"P5 1 1 0\nx", "1 ... 65535"},
        {"P5 1 1 65536\nxx", "1 ... 65535"},
        {"P5 100000 100000 255\nx", "more than the limit of 268435456"},
        {"P6 16000 16000 255\nx", "cut off"},
        {"P2 16000 16000 255\n1 1", "cut off"},
        {"P2 2 1 7 1 8", "exceeds"},
        {"P5 1 1 7\nx", "exceeds"},
        {"P2 2 1 255 1 b", "a number is expected"},
        {"P5 2 2 # comment without end", "cut off"},
    };
    for (auto const& c : table) {
        std::string const path = m_folder.Write("broken.png", c.first);
        EXPECT_THAT(ReadFailure(path), AllOf(HasSubstr("'" + path + "'"), HasSubstr(c.second)))
            << c.first;
    }
    EXPECT_THAT(ReadFailure(Path("none.png")), HasSubstr("No such file"));
    EXPECT_THAT(ReadFailure(m_folder.path.string()), HasSubstr("folder"));
    EXPECT_THAT(ReadFailure("/dev/null"), HasSubstr("not a regular file"));
}

TEST_F(ImageIO, FilesCutOffAnywhereAreRefused) {
    ptree metadata;
    metadata.put("Key", "value");
    for (char const* name : {"a.pgm", "a.png", "a.jpg", "a.tif"}) {
        Save(Path(name), *MakeNoise<Rgb8>(9, 5), metadata);
        for (auto size = fs::file_size(Path(name)); size-- > 0;) {
            fs::resize_file(Path(name), size);
            ASSERT_THAT(ReadFailure(Path(name)), HasSubstr(Path(name))) << "cut at " << size;
        }
    }
}

TEST_F(ImageIO, DamagedFilesNeverCrash) {
    std::mt19937 random(3);
    for (char const* name : {"a.ppm", "a.png", "a.jpg", "a.tif"}) {
        Save(Path(name), *MakeNoise<Rgb8>(9, 5), ptree());
        std::string const whole = m_folder.Read(name);
        ptree options;
        options.put("max pixels", 1000000);
        for (int i = 0; i < 400; ++i) {
            std::string damaged = whole;
            for (int n = 0; n < 3; ++n) {
                damaged[random() % damaged.size()] = static_cast<char>(random());
            }
            std::string const path = m_folder.Write("damaged", damaged);
            Failure([&] { CreateFromFile(path, options); });
        }
    }
}

// ---- files as other programs write them

using FilePtr = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

/// Writes a file by the library's own calls.
template <class Write>
void WritePngBy(std::string const& path, Write const& write) {
    FilePtr const file(std::fopen(path.c_str(), "wb"), std::fclose);
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file.get());
    write(png, info);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
}

TEST_F(ImageIO, PngTextsThatExpandToGigabytesAreRefused) {
    std::string const text(9000000, 'x');
    uLongf size = compressBound(text.size());
    std::vector<png_byte> chunk(3 + size);
    chunk[0] = 'K'; // then the end of the key, and the kind of compression
    compress(chunk.data() + 3, &size, reinterpret_cast<Bytef const*>(text.data()), text.size());
    for (int const chunks : {1, 2, 300}) {
        WritePngBy(Path("a.png"), [&](png_structp png, png_infop info) {
            png_set_IHDR(png, info, 1, 1, 8, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, 0, 0);
            png_write_info(png, info);
            for (int i = 0; i < chunks; ++i) {
                auto const* const name = reinterpret_cast<png_const_bytep>("zTXt");
                png_write_chunk(png, name, chunk.data(), 3 + size);
            }
            png_write_row(png, chunk.data());
        });
        ptree options;
        if (chunks == 1) {
            auto const image = CreateFromFile(Path("a.png"), options);
            EXPECT_EQ(image->Metadata().get("K", "").size(), text.size());
            options.put("max text bytes", 8999999); // found out while it is expanded
        }
        EXPECT_THAT(
            Failure([&] { CreateFromFile(Path("a.png"), options); }),
            HasSubstr("its texts take more than the limit of"));
    }
}

TEST_F(ImageIO, LargerImagesAndTextsThanAllowedAreRefused) {
    constexpr int bytes = 1500 * 75;
    ptree many;
    ptree one;
    for (int i = 0; i < 1500; ++i) {
        many.put("Key " + std::to_string(1000 + i), "xyz");
    }
    one.put("Key", std::string(bytes - 67, 'x'));
    struct Limit {
        char const* name;
        int value;
        std::string refusal;
    };
    Limit const limits[] = {
        {"max pixels", 100, "it has 20 x 5 pixels, more than the limit of 99"},
        {"max text bytes", bytes, "its texts take more than the limit of 112499 bytes"}};
    for (std::string const name : {"a.ppm", "a.png", "a.jpg", "a.tif"}) {
        // No JPEG comment is as long as that one.
        for (ptree const& metadata : {many, name == "a.jpg" ? many : one}) {
            Save(Path(name), Grey(20, 5), metadata);
            for (Limit const& limit : limits) {
                ptree options;
                options.put(limit.name, limit.value);
                EXPECT_EQ(CreateFromFile(Path(name), options)->Metadata(), metadata) << name;
                options.put(limit.name, limit.value - 1);
                EXPECT_THAT(
                    Failure([&] { CreateFromFile(Path(name), options); }),
                    HasSubstr(limit.refusal));
            }
        }
    }
}

/// Writes 8 x 8 pixels of some structure.
void WriteJpegVariant(std::string const& path, J_COLOR_SPACE space, int channels) {
    FilePtr const file(std::fopen(path.c_str(), "wb"), std::fclose);
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    jpeg_stdio_dest(&jpeg, file.get());
    jpeg.image_width = jpeg.image_height = 8;
    jpeg.input_components = channels;
    jpeg.in_color_space = space;
    jpeg_set_defaults(&jpeg);
    jpeg_simple_progression(&jpeg);
    jpeg_start_compress(&jpeg, TRUE);
    JSAMPLE pixels[32] = {1, 99, 3, 200, 5, 6, 70, 8};
    for (JSAMPROW row = pixels; jpeg.next_scanline < 8;) {
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
}

TEST_F(ImageIO, JpegFilesThatRepeatTheirScansAreRefused) {
    WriteJpegVariant(Path("a.jpg"), JCS_GRAYSCALE, 1);
    std::string const whole = m_folder.Read("a.jpg");
    std::size_t const scan = whole.find("\xFF\xDA");
    std::size_t const end = whole.find('\xFF', scan + 2);
    std::string bomb = whole.substr(0, end);
    for (int i = 0; i < 600; ++i) {
        bomb += whole.substr(scan, end - scan);
    }
    EXPECT_THAT(
        ReadFailure(m_folder.Write("bomb.jpg", bomb + whole.substr(end))),
        HasSubstr("too many scans"));
    EXPECT_NO_THROW(CreateFromFile(Path("a.jpg"), ptree()));
}

struct PngVariant {
    int colour;
    int bits;
    int interlace;
    unsigned type;
    std::vector<unsigned> packed; ///< the bytes of each of the four rows of four pixels
    std::vector<unsigned> first;  ///< channels of the first pixel as read
};

void WriteVariant(png_structp png, png_infop info, PngVariant const& variant) {
    png_set_IHDR(png, info, 4, 4, variant.bits, variant.colour, variant.interlace, 0, 0);
    png_color const palette[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}};
    png_byte const alpha[] = {50, 60};
    if (variant.colour == PNG_COLOR_TYPE_PALETTE) {
        png_set_PLTE(png, info, palette, variant.bits == 1 ? 2 : 4);
        if (variant.bits == 4) {
            png_set_tRNS(png, info, alpha, 2, nullptr);
        }
    }
    png_write_info(png, info);
    std::vector<png_byte> row(variant.packed.begin(), variant.packed.end());
    std::vector<png_bytep> rows(4, row.data());
    png_write_image(png, rows.data());
}

TEST_F(ImageIO, PngVariantsAreRead) {
    constexpr int G = PNG_COLOR_TYPE_GRAY;
    constexpr int P = PNG_COLOR_TYPE_PALETTE;
    constexpr int GA = PNG_COLOR_TYPE_GRAY_ALPHA;
    constexpr int C = PNG_COLOR_TYPE_RGB;
    constexpr int Adam7 = PNG_INTERLACE_ADAM7;
    PngVariant const variants[] = {
        {G, 1, 0, 1, {0x90}, {255}},
        {G, 2, 0, 1, {0x80}, {170}},
        {G, 4, Adam7, 1, {0x30, 0}, {51}},
        {P, 1, 0, 13, {0x80}, {4, 5, 6}},
        {P, 2, Adam7, 13, {0x80}, {7, 8, 9}},
        {P, 4, 0, 14, {0x12, 0}, {4, 5, 6, 60}},
        {P, 8, 0, 13, {3, 0, 0, 0}, {10, 11, 12}},
        {GA, 8, 0, 14, {7, 8, 0, 0, 0, 0, 0, 0}, {7, 7, 7, 8}},
        {GA, 16, Adam7, 17, {1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {258, 258, 258, 772}},
        {C, 8, Adam7, 13, {1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {1, 2, 3}},
    };
    for (PngVariant const& variant : variants) {
        WritePngBy(Path("a.png"), [&](png_structp png, png_infop info) {
            WriteVariant(png, info, variant);
        });
        auto const image = CreateFromFile(Path("a.png"), ptree());
        ASSERT_EQ(image->Type(), variant.type) << variant.colour << " " << variant.bits;
        bool const deep = variant.bits == 16;
        for (std::size_t i = 0; i < variant.first.size(); ++i) {
            unsigned const count = deep ? image->Row<ushort>(3)[i] : image->Row<uchar>(3)[i];
            EXPECT_EQ(count, variant.first[i]) << variant.colour << " " << variant.bits;
        }
    }
}

struct TiffVariant {
    char const* what;
    char const* mode;
    uint16_t bits;
    uint16_t samples;
    uint16_t photometric;
    uint16_t format;
    uint16_t planar;
    uint32_t tile; ///< side length, 0 for strips
    int extra;     ///< kind of the last sample, -1 for none
    unsigned type;
    std::vector<unsigned> samplesOfLast;
    std::vector<unsigned> last; ///< channels of the last pixel as read
};

/// A 20 x 19 image, zero but for its last pixel.
void WriteTiffVariant(std::string const& path, TiffVariant const& variant) {
    constexpr uint32_t width = 20;
    constexpr uint32_t height = 19;
    std::unique_ptr<TIFF, void (*)(TIFF*)> const owner(
        TIFFOpen(path.c_str(), variant.mode), TIFFClose);
    TIFF* const tiff = owner.get();
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, variant.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, variant.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, variant.photometric);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, variant.format);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, variant.planar);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_BOTRIGHT); // must not turn the rows
    if (variant.extra >= 0) {
        auto const kind = static_cast<uint16_t>(variant.extra);
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
    }
    if (variant.tile != 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, variant.tile);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, variant.tile);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 4);
    }
    bool const separate = variant.planar == PLANARCONFIG_SEPARATE;
    unsigned const planes = separate ? variant.samples : 1U;
    unsigned const channels = separate ? 1U : variant.samples;
    uint32_t const blockWidth = variant.tile != 0 ? variant.tile : width;
    uint32_t const blockHeight = variant.tile != 0 ? variant.tile : 1;
    for (uint16_t plane = 0; plane < planes; ++plane) {
        for (uint32_t y = 0; y < height; y += blockHeight) {
            for (uint32_t x = 0; x < width; x += blockWidth) {
                std::size_t const bytes = variant.bits / 8U;
                std::vector<uchar> block(bytes * blockWidth * blockHeight * channels);
                bool const isLast = x + blockWidth >= width && y + blockHeight >= height;
                std::size_t const pixel = (height - 1 - y) * blockWidth + width - 1 - x;
                for (unsigned c = 0; c < channels && isLast; ++c) {
                    auto const value =
                        static_cast<ushort>(variant.samplesOfLast[separate ? plane : c]);
                    std::memcpy(&block[(pixel * channels + c) * bytes], &value, bytes);
                }
                if (variant.tile != 0) {
                    TIFFWriteTile(tiff, block.data(), x, y, 0, plane);
                } else {
                    TIFFWriteScanline(tiff, block.data(), y, plane);
                }
            }
        }
    }
}

TEST_F(ImageIO, TiffVariantsAreRead) {
    constexpr uint16_t Black = PHOTOMETRIC_MINISBLACK;
    constexpr uint16_t White = PHOTOMETRIC_MINISWHITE;
    constexpr uint16_t Colour = PHOTOMETRIC_RGB;
    constexpr uint16_t UInt = SAMPLEFORMAT_UINT;
    constexpr uint16_t Int = SAMPLEFORMAT_INT;
    constexpr uint16_t Mixed = PLANARCONFIG_CONTIG;
    constexpr uint16_t Planes = PLANARCONFIG_SEPARATE;
    constexpr int Straight = EXTRASAMPLE_UNASSALPHA;
    constexpr int Multi = EXTRASAMPLE_ASSOCALPHA;
    TiffVariant const variants[] = {
        {"tiles", "w", 8, 1, Black, UInt, Mixed, 16, -1, 1, {9}, {9}},
        {"big-endian", "wb", 16, 3, Colour, UInt, Mixed, 0, -1, 16, {1, 2, 300}, {1, 2, 300}},
        {"BigTIFF", "w8", 8, 3, Colour, UInt, Mixed, 0, -1, 13, {1, 2, 3}, {1, 2, 3}},
        {"planes", "w", 8, 3, Colour, UInt, Planes, 0, -1, 13, {1, 2, 3}, {1, 2, 3}},
        {"plane tiles", "w", 16, 3, Colour, UInt, Planes, 16, -1, 16, {1, 2, 3}, {1, 2, 3}},
        {"inverted", "w", 8, 1, White, UInt, Mixed, 0, -1, 1, {9}, {246}},
        {"signed", "w", 16, 1, Black, Int, Mixed, 0, -1, 4, {0xFFFE}, {0xFFFE}},
        {"alpha", "w", 8, 4, Colour, UInt, Mixed, 0, Straight, 14, {9, 8, 7, 6}, {9, 8, 7, 6}},
        {"by alpha", "w", 8, 4, Colour, UInt, Mixed, 0, Multi, 14, {9, 0, 8, 8}, {255, 0, 255, 8}},
        {"grey and alpha", "w", 8, 2, Black, UInt, Mixed, 0, Straight, 14, {9, 255}, {9, 9, 9}},
    };
    for (TiffVariant const& variant : variants) {
        WriteTiffVariant(Path("a.tif"), variant);
        auto const image = CreateFromFile(Path("a.tif"), ptree());
        ASSERT_EQ(image->Type(), variant.type) << variant.what;
        std::size_t const channels = image->BytesPerPixel() / (variant.bits / 8U);
        for (std::size_t i = 0; i < variant.last.size(); ++i) {
            std::size_t const at = 19 * channels + i;
            unsigned const count =
                variant.bits == 16 ? image->Row<ushort>(18)[at] : image->Row<uchar>(18)[at];
            EXPECT_EQ(count, variant.last[i]) << variant.what << " " << i;
        }
        EXPECT_EQ(*image->Row<uchar>(0), variant.photometric == White ? 255 : 0) << variant.what;
    }
}

TEST_F(ImageIO, JpegOfFourPrintingColoursIsRefused) {
    WriteJpegVariant(Path("a.jpg"), JCS_CMYK, 4);
    EXPECT_THAT(ReadFailure(Path("a.jpg")), HasSubstr("four printing colours"));
}

// ---- saving

TEST_F(ImageIO, SaveRefusesWhatItCannotWrite) {
    std::tuple<char const*, unsigned, char const*> const table[] = {
        {"a.png", 0, "no pixels"},
        {"a.bmp", 4, "'bmp'"},
        {"png", 4, "''"},
        {"none/a.png", 4, "No such file"},
        {"folder.ppm", 4, "directory"},
        {"wide.jpg", 70000, "65500"},
    };
    fs::create_directory(Path("folder.ppm"));
    for (auto const& c : table) {
        std::string const path = Path(std::get<0>(c));
        EXPECT_THAT(
            Failure([&] { Save(path, Grey(std::get<1>(c), 1), ptree()); }),
            AllOf(HasSubstr("'" + path + "'"), HasSubstr(std::get<2>(c))));
        EXPECT_EQ(FilesInFolder(), 1) << path;
    }
}

TEST_F(ImageIO, AWriteProtectedFileIsNotReplaced) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "needs a user whom file permissions bind; root is not";
    }
    fs::permissions(m_folder.Write("a.pgm", "old"), fs::perms::owner_read);
    EXPECT_THAT(
        Failure([&] { Save(Path("a.pgm"), Grey(2, 2), ptree()); }), HasSubstr("Permission denied"));
    EXPECT_EQ(m_folder.Read("a.pgm"), "old");
}

TEST_F(ImageIO, AFailedSaveLeavesTheOldFileAndNothingElse) {
    auto const image = MakeNoise<Rgb8>(200, 200);
    for (char const* name : {"a.ppm", "a.png", "a.jpg", "a.tif"}) {
        m_folder.Write(name, "old");
        {
            tests::FullDisk const full(20000);
            EXPECT_THAT(Failure([&] { Save(Path(name), *image, ptree()); }), HasSubstr(Path(name)));
        }
        EXPECT_EQ(m_folder.Read(name), "old") << name;
    }
    EXPECT_EQ(FilesInFolder(), 4);
}

TEST_F(ImageIO, ALinkIsFollowed) {
    m_folder.Write("real.pgm", "old");
    fs::create_symlink("real.pgm", Path("link.pgm"));
    Save(Path("link.pgm"), Grey(2, 2), ptree());
    EXPECT_TRUE(fs::is_symlink(Path("link.pgm")));
    EXPECT_EQ(m_folder.Read("real.pgm").substr(0, 2), "P5");
}

TEST_F(ImageIO, ManyThreadsMaySaveUnderOneName) {
    auto const image = MakeNoise<Rgb8>(64, 64);
    std::vector<std::thread> writers;
    writers.reserve(4);
    for (int i = 0; i < 4; ++i) {
        writers.emplace_back([&] {
            for (int n = 0; n < 10; ++n) {
                Save(Path("a.png"), *image, ptree());
                ptree metadata;
                ExpectSamePixels(*Load(Path("a.png"), metadata), *image, "a.png");
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_EQ(FilesInFolder(), 1);
}

} // namespace
