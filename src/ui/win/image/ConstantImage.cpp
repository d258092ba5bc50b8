#include "ui/win/image/ConstantImage.h"

namespace ui::win {

namespace {

/// Its type is the mark; it also keeps the image.
struct KeepConstant {
    boost::shared_ptr<cimage::CImage const> image;
    void operator()(cimage::CImage const*) { image.reset(); }
};

} // namespace

boost::shared_ptr<cimage::CImage const>
MakeConstant(boost::shared_ptr<cimage::CImage const> const& image) {
    return {image.get(), KeepConstant{image}};
}

bool IsConstant(boost::shared_ptr<cimage::CImage const> const& image) {
    return boost::get_deleter<KeepConstant>(image) != nullptr;
}

} // namespace ui::win
