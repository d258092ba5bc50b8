#include "ui/win/image/CImageDrawConvert.h"

#include "ui/win/image/CWindowImageConverter.h"

namespace ui::win {

namespace {

using cimage::Bayer;
using cimage::TImage;

using Grey = TImage<unsigned char>;
using SignedGrey = TImage<signed char>;
using DeepGrey = TImage<unsigned short>;
using DeepSignedGrey = TImage<short>;
template <class T>
using BGGR = TImage<Bayer<cimage::TBGGR<T>>>;
template <class T>
using GRBG = TImage<Bayer<cimage::TGRBG<T>>>;
template <class T>
using RGGB = TImage<Bayer<cimage::TRGGB<T>>>;
template <class T>
using GBRG = TImage<Bayer<cimage::TGBRG<T>>>;
using RGB = TImage<cimage::TRGB<unsigned char>>;
using RGBA = TImage<cimage::TRGBA<unsigned char>>;
using BGRA = TImage<cimage::TBGRA<unsigned char>>;

template <class S, class D>
void Add(int cost, ConvertImage::Function const& convert) {
    CImageConvertPool::Instance()->DoAdd(S::StaticType, D::StaticType, {cost, convert});
}

template <class S, class D>
void AddCast() {
    Add<S, D>(0, &StaticCastConvert<S, D>::CreateObject);
}

template <class S>
void AddDeepMosaic() {
    Add<S, Grey>(0, &DrawCastAndConvert<S, DeepGrey, Grey>::ConvertObject);
}

template <class S, class D>
void AddConversion(int cost) {
    Add<S, D>(cost, &DrawConvert<S, D>::ConvertObject);
}

template <class... Images>
void AddSame() {
    (AddCast<Images, Images>(), ...);
}

bool FillPool() {
    using Byte = unsigned char;
    using Word = unsigned short;
    AddSame<Grey, SignedGrey, DeepGrey, DeepSignedGrey>();
    AddSame<BGGR<Byte>, GRBG<Byte>, RGGB<Byte>, GBRG<Byte>>();
    AddSame<RGB, RGBA>();
    // Shown as it lies, with red and blue exchanged: cameras that deliver it are set up for that.
    AddCast<BGRA, RGBA>();
    // Mosaics are shown as the sensor counted them, not demosaiced.
    AddCast<BGGR<Byte>, Grey>();
    AddCast<GRBG<Byte>, Grey>();
    AddCast<RGGB<Byte>, Grey>();
    AddCast<GBRG<Byte>, Grey>();
    AddDeepMosaic<BGGR<Word>>();
    AddDeepMosaic<GRBG<Word>>();
    AddDeepMosaic<RGGB<Word>>();
    AddDeepMosaic<GBRG<Word>>();
    AddConversion<Grey, RGB>(1);
    AddConversion<Grey, RGBA>(2);
    AddConversion<Grey, BGRA>(2);
    AddConversion<SignedGrey, Grey>(1);
    AddConversion<DeepGrey, Grey>(1);
    AddConversion<DeepSignedGrey, Grey>(1);
    return true;
}

[[maybe_unused]] bool const g_filled = FillPool();

} // namespace

} // namespace ui::win
