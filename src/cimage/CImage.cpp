#include "cimage/CImage.h"

#include <boost/property_tree/ptree.hpp>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace cimage {

namespace {

constexpr std::size_t RowAlignment = 16;
static_assert(alignof(std::max_align_t) >= RowAlignment, "the first row must be aligned");

std::size_t RowStride(std::size_t bytesPerPixel, unsigned width) {
    // width * bytesPerPixel fits 64 bits: one is 32 bits wide and the other is a few bytes.
    unsigned long long const row = static_cast<unsigned long long>(width) * bytesPerPixel;
    unsigned long long const stride = (row + RowAlignment - 1) / RowAlignment * RowAlignment;
    if (stride > static_cast<unsigned long long>(std::numeric_limits<std::ptrdiff_t>::max())) {
        throw std::length_error("image row of " + std::to_string(width) + " pixels is too long");
    }
    return static_cast<std::size_t>(stride);
}

unsigned char* Allocate(std::size_t stride, unsigned width, unsigned height, bool zeroed) {
    if (stride == 0 || height == 0) {
        return nullptr;
    }
    if (height > static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) / stride) {
        throw std::length_error(
            "image of " + std::to_string(width) + " x " + std::to_string(height) +
            " pixels is too large");
    }
    // calloc hands out fresh pages of a large image without writing them.
    void* const bytes = zeroed ? std::calloc(height, stride) : std::malloc(height * stride);
    if (bytes == nullptr) {
        throw std::bad_alloc();
    }
    return static_cast<unsigned char*>(bytes);
}

void RequireSameType(unsigned own, unsigned other) {
    if (own != other) {
        throw std::invalid_argument(
            "image of pixel type " + std::to_string(other) +
            " cannot be assigned to one of pixel type " + std::to_string(own));
    }
}

} // namespace

void CImage::Free::operator()(unsigned char* bytes) const {
    std::free(bytes);
}

CImage::~CImage() = default;

CImage::CImage(unsigned type, std::size_t bytesPerPixel, unsigned width, unsigned height)
    : m_type(type), m_bytesPerPixel(bytesPerPixel) {
    Resize(width, height);
}

CImage::CImage(CImage const& other) : m_type(other.m_type), m_bytesPerPixel(other.m_bytesPerPixel) {
    ResizeToOverwrite(other.m_width, other.m_height);
    if (m_bytes) {
        std::memcpy(m_bytes.get(), other.m_bytes.get(), m_stride * m_height);
    }
    if (other.m_metadata) {
        m_metadata = std::make_unique<boost::property_tree::ptree>(*other.m_metadata);
    }
}

CImage::CImage(CImage&& other) noexcept
    : m_type(other.m_type), m_bytesPerPixel(other.m_bytesPerPixel) {
    Take(other);
}

CImage& CImage::operator=(CImage const& other) {
    RequireSameType(m_type, other.m_type);
    if (this == &other) {
        return *this;
    }
    auto metadata = other.m_metadata
                        ? std::make_unique<boost::property_tree::ptree>(*other.m_metadata)
                        : nullptr;
    ResizeToOverwrite(other.m_width, other.m_height);
    if (m_bytes) {
        std::memcpy(m_bytes.get(), other.m_bytes.get(), m_stride * m_height);
    }
    m_metadata = std::move(metadata);
    return *this;
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor,bugprone-exception-escape)
CImage& CImage::operator=(CImage&& other) {
    RequireSameType(m_type, other.m_type);
    if (this != &other) {
        Take(other);
    }
    return *this;
}

void CImage::Resize(unsigned width, unsigned height) {
    Replace(width, height, true);
}

void CImage::ResizeToOverwrite(unsigned width, unsigned height) {
    // One frame follows another of the same size: the buffer is used again.
    if (m_width != width || m_height != height) {
        Replace(width, height, false);
    }
}

void CImage::Replace(unsigned width, unsigned height, bool zeroed) {
    std::size_t const stride = RowStride(m_bytesPerPixel, width);
    m_bytes.reset(Allocate(stride, width, height, zeroed));
    m_width = width;
    m_height = height;
    m_stride = stride;
}

boost::property_tree::ptree const& CImage::Metadata() const {
    static boost::property_tree::ptree const none;
    return m_metadata ? *m_metadata : none;
}

boost::property_tree::ptree& CImage::Metadata() {
    if (!m_metadata) {
        m_metadata = std::make_unique<boost::property_tree::ptree>();
    }
    return *m_metadata;
}

void CImage::Take(CImage& other) noexcept {
    m_width = std::exchange(other.m_width, 0);
    m_height = std::exchange(other.m_height, 0);
    m_stride = std::exchange(other.m_stride, 0);
    m_bytes = std::move(other.m_bytes);
    m_metadata = std::move(other.m_metadata);
}

} // namespace cimage
