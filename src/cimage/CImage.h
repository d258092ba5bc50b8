#pragma once

#include <boost/property_tree/ptree_fwd.hpp>
#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <memory>

namespace cimage {

/// An image of any pixel type: the bytes, their layout and a metadata tree.
///
/// Owns its buffer. The pixel type is a run-time number (PixelTypes.h); TImage<P> is the typed
/// form and adds no data, so an image may be viewed as another type of the same layout with
/// Row<P>() and nothing is copied. Rows are Stride() bytes apart, each starting on a 16-byte
/// boundary. A moved-from image is empty. Not synchronised: whoever shares an image decides who
/// may write to it.
class CImage {
public:
    virtual ~CImage();
    CImage(CImage const& other);
    CImage(CImage&& other) noexcept;
    /// Copies or takes pixels and metadata. Throws std::invalid_argument, and changes nothing,
    /// when the pixel types differ.
    CImage& operator=(CImage const& other);
    // NOLINTNEXTLINE(performance-noexcept-move-constructor,bugprone-exception-escape)
    CImage& operator=(CImage&& other);

    /// A copy of the same pixel type with its own pixels and metadata.
    virtual boost::shared_ptr<CImage> Clone() const = 0;

    unsigned Width() const { return m_width; }
    unsigned Height() const { return m_height; }
    /// Bytes from one row's start to the next's.
    std::size_t Stride() const { return m_stride; }
    /// PixelTypeNumber<P>::value of the pixels stored.
    unsigned Type() const { return m_type; }
    std::size_t BytesPerPixel() const { return m_bytesPerPixel; }
    bool Empty() const { return m_width == 0 || m_height == 0; }

    /// Replaces the pixels by width x height zeroed ones; keeps type and metadata. Throws
    /// std::length_error, and changes nothing, when the size does not fit the address space.
    void Resize(unsigned width, unsigned height);
    /// As Resize, for a caller who writes every pixel: they hold anything until then. Pixels of the
    /// same size already stay.
    void ResizeToOverwrite(unsigned width, unsigned height);

    /// First byte of row y (0 is the top row), y < Height().
    unsigned char const* Bytes(unsigned y = 0) const { return m_bytes.get() + y * m_stride; }
    unsigned char* Bytes(unsigned y = 0) { return m_bytes.get() + y * m_stride; }

    /// Row y viewed as pixels of type P, which must have the size and layout of those stored.
    template <class P>
    P const* Row(unsigned y) const {
        return reinterpret_cast<P const*>(Bytes(y));
    }
    template <class P>
    P* Row(unsigned y) {
        return reinterpret_cast<P*>(Bytes(y));
    }

    /// Free-form description of the image: text entries of its file, capture data. Reading it
    /// through a const image is safe from several threads at once.
    boost::property_tree::ptree const& Metadata() const;
    boost::property_tree::ptree& Metadata();

protected:
    /// Allocates width x height zeroed pixels. Throws std::length_error when the size does not
    /// fit the address space.
    CImage(unsigned type, std::size_t bytesPerPixel, unsigned width, unsigned height);

private:
    struct Free {
        void operator()(unsigned char* bytes) const;
    };

    void Replace(unsigned width, unsigned height, bool zeroed);
    /// Moves pixels and metadata of an image of the same type here; leaves it empty.
    void Take(CImage& other) noexcept;

    unsigned m_type;
    std::size_t m_bytesPerPixel;
    unsigned m_width = 0;
    unsigned m_height = 0;
    std::size_t m_stride = 0;
    std::unique_ptr<unsigned char[], Free> m_bytes;
    // Most images never carry metadata: null until it is first written.
    std::unique_ptr<boost::property_tree::ptree> m_metadata;
};

} // namespace cimage
