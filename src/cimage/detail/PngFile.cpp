#include "cimage/detail/Formats.h"
#include "cimage/detail/LibraryCalls.h"

#include <boost/property_tree/ptree.hpp>

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>
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

/// What libpng may allocate: its texts are compressed, and a small file could ask for gigabytes.
struct Memory {
    std::uint64_t left = std::numeric_limits<std::uint64_t>::max();
    std::string refusal; ///< what to say when that is not enough
};

/// Warnings concern what does not change the pixels. A text that finds no memory is left out with
/// one, and so is a text whose end is not reached, be it for the limit.
void OnWarning(png_structp png, png_const_charp reason) {
    std::string const& refusal = static_cast<Memory*>(png_get_mem_ptr(png))->refusal;
    char const* const leftOut[] = {"memory", "too many text", "TXt: truncated"};
    bool const isLeftOut =
        std::any_of(std::begin(leftOut), std::end(leftOut), [&](char const* words) {
            return std::strstr(reason, words) != nullptr;
        });
    if (isLeftOut && !refusal.empty()) {
        OnError(png, refusal.c_str());
    }
}

/// In front of each block, the block's size; as far apart as alignment wants.
constexpr std::size_t BlockHeader = alignof(std::max_align_t);

png_voidp Allocate(png_structp png, png_alloc_size_t size) {
    auto* const memory = static_cast<Memory*>(png_get_mem_ptr(png));
    if (size > memory->left) {
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
            // Our own limits are on the number of pixels and on the memory of all texts.
            png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
            png_set_chunk_cache_max(png, 0);
        });
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

/// The library's own buffers, and texts that are compressed and expanded at once, in a list that
/// grows by copies.
void LimitMemory(Png& png, ReadLimits const& limits) {
    constexpr std::uint64_t own = 4U << 20;
    constexpr std::uint64_t longestChunk = PNG_UINT_31_MAX;
    std::uint64_t const texts = std::min(limits.maxTextBytes, longestChunk);
    png.memory.left = own + 3 * texts;
    png.memory.refusal = limits.TextRefusal() + ", or one of them is cut off";
    // Expanding a text takes time before it takes memory.
    png.calls([&] { png_set_chunk_malloc_max(png.png, std::max(own, texts)); });
}

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

void ReadTexts(png_structp png, png_infop info, ReadLimits const& limits, CImage& image) {
    TextReader reader(image, limits);
    png_textp texts = nullptr;
    int const count = png_get_text(png, info, &texts, nullptr);
    for (int i = 0; i < count; ++i) {
        png_text const& text = texts[i];
        std::string const value = text.text == nullptr ? "" : text.text;
        bool const isUtf8 = text.compression >= PNG_ITXT_COMPRESSION_NONE;
        reader.Add({FromLatin1(text.key), isUtf8 ? value : FromLatin1(value)});
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
    LimitMemory(png, limits);
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
    ReadTexts(png.png, png.info, limits, *image);
    return image;
}

void WritePng(std::FILE* file, StoredImage const& stored, TextEntries const& texts) {
    Png png(Png::Write);
    png.Attach(file);
    std::vector<png_text> const pngTexts = ToPngTexts(texts);
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
