#include "ui/win/widgets/Bars.h"

#include "ui/win/CWindow.h"
#include "ui/win/widgets/detail/CurrentColour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace ui::win {

namespace {

using Area = math::Rect2<double>;

/// Puts colour and text alignment of a core back when it goes.
class KeptStyle {
public:
    explicit KeptStyle(CWindowCore& core)
        : m_core(core), m_horizontal(core.HorizontalTextAlign()),
          m_vertical(core.VerticalTextAlign()), m_colour(detail::CurrentColour(&core)) {}
    ~KeptStyle() {
        m_core.SetTextAlign(m_horizontal, m_vertical);
        m_core.SetColor(m_colour);
    }
    KeptStyle(KeptStyle const&) = delete;
    KeptStyle& operator=(KeptStyle const&) = delete;

private:
    CWindowCore& m_core;
    _TextAlign_t m_horizontal;
    _TextAlign_t m_vertical;
    CWindowCore::Colour m_colour;
};

bool IsDrawable(Area const& area) {
    return !area.Empty() && std::isfinite(area.Width()) && std::isfinite(area.Height());
}

/// How a scale is divided: `step` is 1, 2 or 5 times 10 to the power of -decimals or above.
struct Division {
    double step;
    int decimals; // 0 .. 3
};

constexpr double widestStepShare = 0.25; // of the range: at least four steps
constexpr int mostDecimals = 3;

Division Divide(double range) {
    double const widest = std::abs(range) * widestStepShare;
    double const power = std::pow(10.0, std::floor(std::log10(widest)));
    double step = power;
    for (double const factor : {2.0, 5.0}) {
        if (factor * power <= widest) {
            step = factor * power;
        }
    }
    step = std::max(step, std::pow(10.0, -mostDecimals));
    int const decimals = static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
    return {step, std::clamp(decimals, 0, mostDecimals)};
}

void DrawTick(CWindowCore& core, Area const& bar, double x, double value, int decimals) {
    static constexpr std::array<char const*, mostDecimals + 1> formats = {
        "%.0f", "%.1f", "%.2f", "%.3f"};
    // The longest number of a double, its sign and decimals.
    std::array<char, 330> label{};
    std::snprintf(
        label.data(), label.size(), formats[static_cast<std::size_t>(decimals)], value + 0.0);
    double const tick = bar.Height() / 2;
    core.DrawLine(x, bar.bottom, x, bar.bottom + tick);
    core.DrawText({x, bar.bottom + tick, 0}, label.data());
}

} // namespace

bool ScaleBar(CWindowCore* core, Area const& area, double first, double last, double textSize) {
    double const range = last - first;
    if (!IsDrawable(area) || !std::isfinite(range) || range == 0) {
        return false;
    }
    Division const division = Divide(range);
    double const low = std::min(first, last);
    double const high = std::max(first, last);
    // Counted in whole numbers: at the end of a double's digits, adding one changes nothing.
    double const firstTick = std::ceil(low / division.step - 1e-9);
    int const ticks = static_cast<int>(std::floor(high / division.step + 1e-9) - firstTick) + 1;
    Area const bar(area.left, area.top, area.right, area.top + area.Height() / 2);
    auto const position = [&](double value) {
        double const inside = std::clamp(value, low, high);
        return area.left + (inside - first) / range * area.Width();
    };

    KeptStyle const style(*core);
    core->SetTextAlign(AlignCentre, AlignTop);
    core->SetFontSizeEx(textSize, textSize, false);
    for (int i = -1; i < ticks; ++i) {
        double const tick = firstTick + i;
        double const from = position(tick * division.step);
        double const to = position((tick + 1) * division.step);
        if (std::fmod(tick, 2) != 0) {
            core->DrawBox(std::min(from, to), bar.top, std::max(from, to), bar.bottom, true);
        }
    }
    core->DrawBox(bar.left, bar.top, bar.right, bar.bottom, false);
    for (int i = 0; i < ticks; ++i) {
        double const value = (firstTick + i) * division.step;
        DrawTick(*core, bar, position(value), value, division.decimals);
    }
    return true;
}

bool ProgressBar(CWindowCore* core, Area const& area, double done, double textSize) {
    if (!IsDrawable(area)) {
        return false;
    }
    double const share = done > 0 ? std::min(done, 1.0) : 0.0;
    std::array<char, 8> label{};
    std::snprintf(label.data(), label.size(), "%u%%", static_cast<unsigned>(share * 100));
    auto const& colours = core->GetTheme().colors;

    KeptStyle const style(*core);
    core->SetColor(colours[1]);
    core->DrawBox(area.left, area.top, area.right, area.bottom, true);
    core->SetColor(colours[3]);
    core->DrawBox(area.left, area.top, area.left + share * area.Width(), area.bottom, true);
    core->SetColor(colours[0]);
    core->DrawBox(area.left, area.top, area.right, area.bottom, false);
    core->SetColor(colours[4]);
    core->SetTextAlign(AlignCentre, AlignCentre);
    core->SetFontSizeEx(textSize, textSize, false);
    core->DrawText({area.left + area.Width() / 2, area.top + area.Height() / 2, 0}, label.data());
    return true;
}

namespace {

/// A drawable that calls one of the functions above with what it carries.
template <class Function>
class DrawnBar : public CWidget {
public:
    explicit DrawnBar(Function function) : m_function(std::move(function)) {}
    int Draw(CWindowCore* core) override { return m_function(core) ? 1 : 0; }

private:
    Function const m_function;
};

} // namespace

bool ScaleBar(CWindow& window, Area const& area, double first, double last, double textSize) {
    return window.push(new DrawnBar(
        [=](CWindowCore* core) { return ScaleBar(core, area, first, last, textSize); }));
}

bool ProgressBar(CWindow& window, Area const& area, double done, double textSize) {
    return window.push(
        new DrawnBar([=](CWindowCore* core) { return ProgressBar(core, area, done, textSize); }));
}

} // namespace ui::win
