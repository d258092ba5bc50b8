#pragma once

#include "cimage/CImage.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <map>
#include <utility>

namespace ui::win {

class CWindowCore;

/// One way from an image type to another.
struct ConvertImage {
    using SPImage = boost::shared_ptr<cimage::CImage const>;
    using Function = boost::function<SPImage(SPImage const&)>;

    static constexpr int nothingFound = 255; ///< the cost that every search starts from

    int cost = nothingFound; ///< lower is better; 0 for what is nearly free
    Function convert;        ///< answers the image itself when it shares them
};

/// The conversions between image types that this process knows.
///
/// Filled while the library is loaded (CImageDrawConvert.cpp) and only read afterwards, from any
/// thread, without a lock. Types are cimage::CImage::Type numbers.
class CImageConvertPool {
public:
    using SPImage = ConvertImage::SPImage;

    CImageConvertPool(CImageConvertPool const&) = delete;
    CImageConvertPool& operator=(CImageConvertPool const&) = delete;

    /// @return the one of the process
    static CImageConvertPool* Instance();

    /// Adds a conversion; the first one of a pair of types stays.
    void DoAdd(unsigned const& source, unsigned const& destination, ConvertImage const& entry);
    /// Copies the entry of a pair (source, destination) out. @return whether there is one
    bool Find(std::pair<unsigned, unsigned> const& types, ConvertImage& entry) const;
    /// The cheapest conversion to one of `count` types; the earliest of equally cheap ones.
    /// @param best comes in with the cost to be beaten, ConvertImage::nothingFound at first
    /// @return index of the chosen type, -1 when none is cheaper than that
    int FindBestMatching(
        unsigned const& source, unsigned const* destinations, int count, ConvertImage& best) const;
    /// Converts to the cheapest of `count` accepted types, the preferred ones first.
    /// @return possibly the same image, to be read as that type whatever its Type() says
    /// @throws std::runtime_error when there is no way to any of them
    SPImage Convert(SPImage const& image, unsigned const* destinations, int count) const;

private:
    CImageConvertPool() = default;

    std::map<std::pair<unsigned, unsigned>, ConvertImage> m_entries;
};

/// How a drawing core binds images: a function for each image type that it can display directly.
///
///     BindImageFunctions bind;
///     bind.Add(cimage::TImage<unsigned char>::StaticType, &BindGrey);
///     bind(core, image); // of any type that the pool can bring to one of those
///
/// Owned and called by a core, on its thread.
class BindImageFunctions {
public:
    using SPImage = ConvertImage::SPImage;
    /// Reads the image as the type it was added for, whatever its Type() says.
    using Function = boost::function<void(CWindowCore*, SPImage const&)>;

    /// Sets the function of a type.
    void Add(unsigned type, Function const& bind) { m_functions[type] = bind; }

    /// Calls the function of the image's type, or that of the type which the image is brought to
    /// at least cost. @return true
    /// @throws std::runtime_error when there is no way to any of the types
    bool operator()(CWindowCore* core, SPImage const& image) const;

private:
    std::map<unsigned, Function> m_functions;
};

} // namespace ui::win
