#pragma once

#include "ui/win/CWidget.h"
#include "ui/win/CWindowCore.h"
#include "ui/win/DrawingTypes.h"

#include <string>
#include <tuple>
#include <utility>

namespace ui::win {

/// A drawable that calls one operation of the core with values it carries. Those that change the
/// core's state act on all that is pushed after them in the same refresh.
template <auto Operation, class... Values>
class CoreOperation : public CWidget {
public:
    explicit CoreOperation(Values... values) : m_values(std::move(values)...) {}

    /// @return 1
    int Draw(CWindowCore* core) override {
        std::apply([core](Values const&... values) { (core->*Operation)(values...); }, m_values);
        return 1;
    }

private:
    std::tuple<Values...> const m_values;
};

using SetColor = CoreOperation<&CWindowCore::SetColor, CWindowCore::Colour>;
using SetFontSize = CoreOperation<&CWindowCore::SetFontSizeEx, double, double, bool>;
using SetTextAlign = CoreOperation<&CWindowCore::SetTextAlign, _TextAlign_t, _TextAlign_t>;
using SetLineSmooth = CoreOperation<&CWindowCore::SetLineSmooth, bool>;
using SetBlend = CoreOperation<&CWindowCore::SetBlend, _BlendType_t>;
/// Light number, position, then the ambient, diffuse and specular colour.
using EnableLight = CoreOperation<
    &CWindowCore::EnableLight,
    int,
    math::Point3<float>,
    CWindowCore::Colour,
    CWindowCore::Colour,
    CWindowCore::Colour>;
using DisableLight = CoreOperation<&CWindowCore::DisableLight, int>;
using Translate = CoreOperation<&CWindowCore::SetTranslation, double, double, bool>;
using SetTheme = CoreOperation<&CWindowCore::SetTheme, Theme>;
using EnableZBuffer = CoreOperation<&CWindowCore::EnableZBuffer, double, double>;
using DisableZBuffer = CoreOperation<&CWindowCore::DisableZBuffer>;

using SetImageRange = CoreOperation<&CWindowCore::SetImageRange, ImageRange>;
using SetColorMap = CoreOperation<&CWindowCore::SetColorMap, ColorMap>;

class SetLineWidth : public CoreOperation<&CWindowCore::SetLineWidth, float> {
public:
    explicit SetLineWidth(double width) : CoreOperation(static_cast<float>(width)) {}
    char const* getName() const override { return "SetLineWidth"; }
};

class SetPointSize : public CoreOperation<&CWindowCore::SetPointSize, float> {
public:
    explicit SetPointSize(double size) : CoreOperation(static_cast<float>(size)) {}
    char const* getName() const override { return "SetPointSize"; }
};

class SetFontName : public CWidget {
public:
    explicit SetFontName(std::string name) : m_name(std::move(name)) {}
    char const* getName() const override { return "SetFontName"; }
    /// @return 1
    int Draw(CWindowCore* core) override;

private:
    std::string const m_name;
};

} // namespace ui::win
