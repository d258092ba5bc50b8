#include "cimage/detail/Formats.h"
#include "cimage/detail/LibraryCalls.h"

#include <boost/property_tree/ptree.hpp>

// jpeglib.h does not include what it uses.
#include <jerror.h>
#include <jpeglib.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace cimage {
namespace detail {

namespace {

/// The library's error manager, first so that the callbacks find the rest behind it.
struct ErrorManager {
    jpeg_error_mgr manager;
    LibraryCalls calls;
};

[[noreturn]] void OnError(j_common_ptr jpeg) {
    char reason[JMSG_LENGTH_MAX];
    jpeg->err->format_message(jpeg, reason);
    reinterpret_cast<ErrorManager*>(jpeg->err)->calls.Fail(reason);
}

/// The library makes up pixels where the data is broken and only warns of it.
void OnMessage(j_common_ptr jpeg, int level) {
    switch (level < 0 ? jpeg->err->msg_code : 0) {
    case JWRN_JPEG_EOF:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_MUST_RESYNC:
    case JWRN_NOT_SEQUENTIAL:
        OnError(jpeg);
    default:
        break;
    }
}

void OnOutput(j_common_ptr /*jpeg*/) {}

jpeg_error_mgr* Prepare(ErrorManager& errors) {
    jpeg_std_error(&errors.manager);
    errors.manager.error_exit = OnError;
    errors.manager.emit_message = OnMessage;
    errors.manager.output_message = OnOutput;
    return &errors.manager;
}

/// A file may go over the whole image again and again with a few bytes each time; no camera or
/// program does so a hundred times.
void CheckScans(j_common_ptr jpeg) {
    constexpr int mostScans = 500;
    if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number > mostScans) {
        reinterpret_cast<ErrorManager*>(jpeg->err)->calls.Fail("the file has too many scans");
    }
}

struct Decompressor {
    Decompressor() {
        jpeg.err = Prepare(errors);
        errors.calls([&] { jpeg_create_decompress(&jpeg); });
        progress.progress_monitor = CheckScans;
        jpeg.progress = &progress;
    }
    ~Decompressor() { jpeg_destroy_decompress(&jpeg); }
    Decompressor(Decompressor const&) = delete;
    Decompressor& operator=(Decompressor const&) = delete;

    ErrorManager errors{};
    jpeg_decompress_struct jpeg{};
    jpeg_progress_mgr progress{};
};

struct Compressor {
    Compressor() {
        jpeg.err = Prepare(errors);
        errors.calls([&] { jpeg_create_compress(&jpeg); });
    }
    ~Compressor() { jpeg_destroy_compress(&jpeg); }
    Compressor(Compressor const&) = delete;
    Compressor& operator=(Compressor const&) = delete;

    ErrorManager errors{};
    jpeg_compress_struct jpeg{};
};

void ReadComments(jpeg_decompress_struct const& jpeg, ReadLimits const& limits, CImage& image) {
    TextReader texts(image, limits);
    for (auto const* marker = jpeg.marker_list; marker != nullptr; marker = marker->next) {
        auto const* const begin = reinterpret_cast<char const*>(marker->data);
        // Some programs store the terminating NUL.
        std::string const text(begin, std::find(begin, begin + marker->data_length, '\0'));
        for (TextEntry const& entry : FromLines(text, "Comment")) {
            texts.Add(entry);
        }
    }
}

void WriteComment(jpeg_compress_struct& jpeg, std::string const& text) {
    constexpr std::size_t longest = 65533;
    if (!text.empty() && text.size() <= longest) {
        jpeg_write_marker(
            &jpeg,
            JPEG_COM,
            reinterpret_cast<JOCTET const*>(text.data()),
            static_cast<unsigned>(text.size()));
    }
}

} // namespace

boost::shared_ptr<CImage> ReadJpeg(std::FILE* file, ReadLimits const& limits) {
    Decompressor decompressor;
    LibraryCalls& calls = decompressor.errors.calls;
    jpeg_decompress_struct& jpeg = decompressor.jpeg;
    calls([&] {
        jpeg_stdio_src(&jpeg, file);
        jpeg_save_markers(&jpeg, JPEG_COM, 0xFFFF);
        jpeg_read_header(&jpeg, TRUE);
    });
    limits.Check(jpeg.image_width, jpeg.image_height);
    if (jpeg.jpeg_color_space == JCS_CMYK || jpeg.jpeg_color_space == JCS_YCCK) {
        throw std::runtime_error("JPEG files with four printing colours are not supported");
    }
    bool const isGrey = jpeg.jpeg_color_space == JCS_GRAYSCALE;
    jpeg.out_color_space = isGrey ? JCS_GRAYSCALE : JCS_RGB;
    boost::shared_ptr<CImage> image =
        MakeImage({isGrey ? 1U : 3U, false}, jpeg.image_width, jpeg.image_height);
    ReadComments(jpeg, limits, *image);
    calls([&] {
        jpeg_start_decompress(&jpeg);
        while (jpeg.output_scanline < jpeg.output_height) {
            JSAMPROW row = image->Bytes(jpeg.output_scanline);
            jpeg_read_scanlines(&jpeg, &row, 1);
        }
        jpeg_finish_decompress(&jpeg);
    });
    return image;
}

void WriteJpeg(std::FILE* file, StoredImage const& stored, TextEntries const& texts) {
    Compressor compressor;
    LibraryCalls& calls = compressor.errors.calls;
    jpeg_compress_struct& jpeg = compressor.jpeg;
    bool const isGrey = stored.layout.channels == 1;
    calls([&] {
        jpeg_stdio_dest(&jpeg, file);
        jpeg.image_width = stored.image.Width();
        jpeg.image_height = stored.image.Height();
        jpeg.input_components = isGrey ? 1 : 3;
        jpeg.in_color_space = isGrey ? JCS_GRAYSCALE : JCS_RGB;
        jpeg_set_defaults(&jpeg);
        // Pictures here are looked at for their detail: fine steps, colour at full resolution.
        jpeg_set_quality(&jpeg, 95, TRUE);
        jpeg.comp_info[0].h_samp_factor = 1;
        jpeg.comp_info[0].v_samp_factor = 1;
        jpeg_start_compress(&jpeg, TRUE);
    });
    for (TextEntry const& entry : texts) {
        std::string const text = ToLines({entry});
        calls([&] { WriteComment(jpeg, text); });
    }
    calls([&] {
        while (jpeg.next_scanline < jpeg.image_height) {
            JSAMPROW row = const_cast<JSAMPROW>(stored.image.Bytes(jpeg.next_scanline));
            jpeg_write_scanlines(&jpeg, &row, 1);
        }
        jpeg_finish_compress(&jpeg);
    });
}

} // namespace detail
} // namespace cimage
