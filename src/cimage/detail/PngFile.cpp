#include "cimage/detail/Formats.h"
#include "cimage/detail/LibraryCalls.h"

#include <boost/property_tree/ptree.hpp>

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace cimage {
namespace detail {

namespace {

void OnError(png_structp png, png_const_charp reason) {
    static_cast<LibraryCalls*>(png_get_error_ptr(png))->Fail(reason);
}

// Warnings concern what does not change the pixels.
void OnWarning(png_structp /*png*/, png_const_charp /*reason*/) {}

/// What libpng may allocate: its texts are compressed, and a small file could ask for gigabytes.
struct Memory {
    std::size_t left = std::size_t{64} << 20;
    bool exceeded = false;
};

/// In front of each block, the block's size; as far apart as alignment wants.
constexpr std::size_t BlockHeader = alignof(std::max_align_t);

png_voidp Allocate(png_structp png, png_alloc_size_t size) {
    auto* const memory = static_cast<Memory*>(png_get_mem_ptr(png));
    if (size > memory->left) {
        memory->exceeded = true;
        return nullptr;
    }
    auto* const block = static_cast<unsigned char*>(std::malloc(size + BlockHeader));
    if (block == nullptr) {
        return nullptr;
    }
    memory->left -= size;
    std::memcpy(block, &size, sizeof(size));
    return block + BlockHeader;
}

void Release(png_structp png, png_voidp bytes) {
    if (bytes != nullptr) {
        auto* const block = static_cast<unsigned char*>(bytes) - BlockHeader;
        png_alloc_size_t size = 0;
        std::memcpy(&size, block, sizeof(size));
        static_cast<Memory*>(png_get_mem_ptr(png))->left += size;
        std::free(block);
    }
}

/// libpng's two records for reading or for writing, and the calls that use them.
struct Png {
    enum Direction { Read, Write };

    explicit Png(Direction whichWay) : direction(whichWay) {
        auto* const create =
            direction == Read ? png_create_read_struct_2 : png_create_write_struct_2;
        png = create(PNG_LIBPNG_VER_STRING, &calls, OnError, OnWarning, &memory, Allocate, Release);
        if (png != nullptr) {
            info = png_create_info_struct(png);
        }
        if (info == nullptr) {
            Destroy();
            throw std::bad_alloc();
        }
    }
    ~Png() { Destroy(); }
    Png(Png const&) = delete;
    Png& operator=(Png const&) = delete;

    void Attach(std::FILE* file) {
        calls([&] {
            png_init_io(png, file);
            // Our own limit is on the number of pixels.
            png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        });
    }

    /// Texts that find no memory are left out by the library without an error.
    void CheckMemory() const {
        if (memory.exceeded) {
            throw std::runtime_error("its texts need more memory than an image may take");
        }
    }

    void Destroy() {
        if (direction == Read) {
            png_destroy_read_struct(&png, &info, nullptr);
        } else {
            png_destroy_write_struct(&png, &info);
        }
    }

    Direction direction;
    Memory memory;
    LibraryCalls calls;
    png_structp png = nullptr;
    png_infop info = nullptr;
};

bool IsLittleEndian() {
    png_uint_16 const one = 1;
    return *reinterpret_cast<unsigned char const*>(&one) == 1;
}

/// Asks for counts of 8 or 16 bits in one of our layouts: palettes and small counts expanded,
/// grey with alpha as RGBA. Returns the layout that comes of it.
PixelLayout ChooseLayout(png_structp png, png_infop info) {
    int const colour = png_get_color_type(png, info);
    bool const transparent = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
    bool const alpha = (colour & PNG_COLOR_MASK_ALPHA) != 0 || transparent;
    png_set_expand(png); // palette to RGB, counts below 8 bits to 8, transparent colour to alpha
    if (alpha && (colour & PNG_COLOR_MASK_COLOR) == 0) {
        png_set_gray_to_rgb(png);
    }
    bool const deep = png_get_bit_depth(png, info) == 16;
    if (deep && IsLittleEndian()) {
        png_set_swap(png);
    }
    return {alpha ? 4U : (colour & PNG_COLOR_MASK_COLOR) != 0 ? 3U : 1U, deep};
}

std::string FromLatin1(std::string const& text) {
    std::string utf8;
    for (char c : text) {
        auto const code = static_cast<unsigned char>(c);
        if (code < 0x80) {
            utf8 += c;
        } else {
            utf8 += static_cast<char>(0xC0 | (code >> 6));
            utf8 += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return utf8;
}

void ReadTexts(png_structp png, png_infop info, CImage& image) {
    png_textp texts = nullptr;
    int const count = png_get_text(png, info, &texts, nullptr);
    for (int i = 0; i < count; ++i) {
        png_text const& text = texts[i];
        std::string const value = text.text == nullptr ? "" : text.text;
        bool const isUtf8 = text.compression >= PNG_ITXT_COMPRESSION_NONE;
        AddToTree(image.Metadata(), {FromLatin1(text.key), isUtf8 ? value : FromLatin1(value)});
    }
}

bool IsAscii(std::string const& text) {
    return std::all_of(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// What the format allows as a keyword, its Latin-1 part left aside.
bool IsKeyword(std::string const& key) {
    bool const printable =
        std::all_of(key.begin(), key.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return printable && !key.empty() && key.size() <= 79 && key.front() != ' ' &&
           key.back() != ' ' && key.find("  ") == std::string::npos;
}

/// The texts as libpng takes them; they point into the entries.
std::vector<png_text> ToPngTexts(TextEntries const& entries) {
    std::vector<png_text> texts;
    for (TextEntry const& entry : entries) {
        if (!IsKeyword(entry.first)) {
            continue;
        }
        bool const plain = IsAscii(entry.second);
        png_text text{};
        text.compression = plain ? PNG_TEXT_COMPRESSION_NONE : PNG_ITXT_COMPRESSION_NONE;
        text.key = const_cast<char*>(entry.first.c_str());
        text.text = const_cast<char*>(entry.second.c_str());
        (plain ? text.text_length : text.itxt_length) = entry.second.size();
        texts.push_back(text);
    }
    return texts;
}

int ColourType(unsigned channels) {
    return channels == 1   ? PNG_COLOR_TYPE_GRAY
           : channels == 3 ? PNG_COLOR_TYPE_RGB
                           : PNG_COLOR_TYPE_RGB_ALPHA;
}

} // namespace

boost::shared_ptr<CImage> ReadPng(std::FILE* file, ReadLimits const& limits) {
    Png png(Png::Read);
    png.Attach(file);
    png_uint_32 width = 0;
    png_uint_32 height = 0;
    png.calls([&] {
        png_read_info(png.png, png.info);
        width = png_get_image_width(png.png, png.info);
        height = png_get_image_height(png.png, png.info);
    });
    limits.Check(width, height);
    constexpr std::size_t rowCopies = 4;
    constexpr std::size_t widestPixel = 8;
    png.memory.left += rowCopies * widestPixel * width;

    PixelLayout layout{};
    int passes = 0;
    png.calls([&] {
        layout = ChooseLayout(png.png, png.info);
        passes = png_set_interlace_handling(png.png);
        png_read_update_info(png.png, png.info);
        if (png_get_rowbytes(png.png, png.info) != width * layout.BytesPerPixel()) {
            png_error(png.png, "unexpected row length");
        }
    });
    boost::shared_ptr<CImage> image = MakeImage(layout, width, height);
    png.calls([&] {
        for (int pass = 0; pass < passes; ++pass) {
            for (png_uint_32 y = 0; y < height; ++y) {
                png_read_row(png.png, image->Bytes(y), nullptr);
            }
        }
        png_read_end(png.png, png.info);
    });
    png.CheckMemory();
    ReadTexts(png.png, png.info, *image);
    return image;
}

void WritePng(std::FILE* file, StoredImage const& stored, TextEntries const& texts) {
    Png png(Png::Write);
    png.Attach(file);
    std::vector<png_text> const pngTexts = ToPngTexts(texts);
    png.memory.left = std::numeric_limits<std::size_t>::max(); // the caller's own data
    png.calls([&] {
        // Measured on camera frames: several times faster than the defaults, hardly larger.
        png_set_compression_level(png.png, 1);
        png_set_compression_strategy(png.png, Z_RLE);
        png_set_filter(png.png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
        png_set_compression_buffer_size(png.png, std::size_t{256} * 1024);
        png_set_IHDR(
            png.png,
            png.info,
            stored.image.Width(),
            stored.image.Height(),
            stored.layout.deep ? 16 : 8,
            ColourType(stored.layout.channels),
            PNG_INTERLACE_NONE,
            PNG_COMPRESSION_TYPE_DEFAULT,
            PNG_FILTER_TYPE_DEFAULT);
        if (!pngTexts.empty()) {
            png_set_text(png.png, png.info, pngTexts.data(), static_cast<int>(pngTexts.size()));
        }
        png_write_info(png.png, png.info);
        if (stored.layout.deep && IsLittleEndian()) {
            png_set_swap(png.png);
        }
        for (png_uint_32 y = 0; y < stored.image.Height(); ++y) {
            png_write_row(png.png, stored.image.Bytes(y));
        }
        png_write_end(png.png, nullptr);
    });
}

} // namespace detail
} // namespace cimage
