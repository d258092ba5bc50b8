#include "ui/panel/Value.h"

#include "tests/panel/RecordingListener.h"
#include "ui/panel/Conf.h"
#include "ui/panel/Widget.h"

#include <boost/archive/polymorphic_text_iarchive.hpp>
#include <boost/archive/polymorphic_text_oarchive.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>

enum class Trigger { Free, Line, Secret };

template <>
struct ui::var::EnumNames<Trigger> {
    static constexpr std::pair<Trigger, char const*> values[] = {
        {Trigger::Free, "FREE"}, {Trigger::Line, "LINE"}};
};

namespace {

using kiv::ini::INIFile;
using ui::detail::AccessConfig;
using ui::var::Limits;
using ui::var::TypedValue;
using ui::var::Value;

template <class T>
void ExpectSameBits(T value) {
    TypedValue<T> target;
    std::string text;
    ASSERT_TRUE(TypedValue<T>(value).Save(text, AccessConfig));
    target.Load(text, AccessConfig);
    EXPECT_EQ(std::memcmp(&target.Current(), &value, sizeof(T)), 0) << text;
}

TEST(TypedValue, NumbersKeepTheirBitsThroughText) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    double const largest = std::numeric_limits<double>::max();
    for (double const value :
         {0.0, -0.0, 0.1, 1.0 / 3.0, 1e-310, 5e-324, largest, HUGE_VAL, -HUGE_VAL, nan}) {
        ExpectSameBits(value);
        ExpectSameBits(static_cast<float>(value));
    }
    ExpectSameBits(std::numeric_limits<std::int64_t>::min());
    ExpectSameBits(std::numeric_limits<std::uint64_t>::max());
    ExpectSameBits(std::int8_t{-128});
    ExpectSameBits(math::Point3<double>(0.1, -0.0, 1e300));
}

template <class T>
void ExpectText(T value, std::string const& text) {
    std::string saved;
    EXPECT_TRUE(TypedValue<T>(value).Save(saved, AccessConfig));
    EXPECT_EQ(saved, text);
}

template <class T>
void ExpectRefused(T kept, std::initializer_list<char const*> texts, Limits<T> limits = {}) {
    TypedValue<T> value(kept, limits);
    for (char const* text : texts) {
        EXPECT_THROW(value.Load(text, AccessConfig), std::runtime_error) << '"' << text << '"';
        EXPECT_TRUE(value.Current() == kept) << text;
    }
}

TEST(TypedValue, TextMustBeAWholeValueWithinItsLimits) {
    ExpectText(false, "FALSE");
    ExpectText('A', "65");
    ExpectText(Trigger::Line, "LINE");
    ExpectText(math::Point2<float>(0.5F, -2), "0.5,-2");
    ExpectText(cimage::TRGBA<unsigned char>(1, 2, 255, 0), "1,2,255,0");
    ExpectText(std::string(" a = b "), " a = b ");

    ExpectRefused(1.5, {"", " ", "1.5x", " 1", "1 ", "1,5", "1e999"});
    ExpectRefused(1, {"1.0", "99999999999", "0x1", "--1"});
    ExpectRefused(1U, {"-1"});
    ExpectRefused(std::uint8_t{1}, {"256", "a"});
    ExpectRefused(true, {"1", "yes", ""});
    ExpectRefused(Trigger::Line, {"line", "", "SECRET"});
    ExpectRefused(math::Point2<double>(1, 2), {"", "1", "1,", "1,2,", "1,2,3", "1;2", "1,2 "});
    ExpectRefused(cimage::TRGB<unsigned char>(1, 2, 3), {"1,2", "1,2,256"});
    ExpectRefused<double>(1, {"-0.001", "4.001", "nan", "inf"}, {0.0, 4.0, {}});
    ExpectRefused<math::Point2<int>>({1, 1}, {"1,-1", "-1,1", "3,1"}, {{{0, 0}}, {{2, 2}}, {}});
    EXPECT_THROW((TypedValue<int>(5, {{}, 4, {}})), std::runtime_error);
    std::string text = "kept";
    EXPECT_FALSE(TypedValue<Trigger>(Trigger::Secret).Save(text, AccessConfig)) << "has no name";
    EXPECT_EQ(text, "kept");

    TypedValue<math::Point2<double>> edges({1, 1}, {{{0, 0}}, {{4, 4}}, {}});
    edges.Load("0, +4", AccessConfig);
    EXPECT_EQ(edges.Current(), math::Point2<double>(0, 4));
    EXPECT_THROW(edges.Set(boost::any(2.0), AccessConfig), boost::bad_any_cast);
    boost::any const outside = math::Point2<double>(0, 5);
    EXPECT_THROW(edges.Set(outside, AccessConfig), std::runtime_error);
    boost::any const held = edges.Get(AccessConfig);
    EXPECT_EQ(boost::any_cast<math::Point2<double>>(held), math::Point2<double>(0, 4));
}

TEST(TypedValue, ArchivesCarryValuesAndAreChecked) {
    std::stringstream stream;
    Value<std::string> const name(std::string("a\nb c"));
    Value<double> const gain(0.1);
    Value<Trigger> const secret(Trigger::Secret);
    Value<double> const limited(2, {1.0, {}, {}});
    ui::detail::PanelManager& manager = *ui::PanelManagerInstance();
    {
        boost::archive::polymorphic_text_oarchive out(stream);
        EXPECT_TRUE(manager.Get(name.GUID(), out));
        EXPECT_TRUE(manager.Get(gain.GUID(), out) && manager.Get(gain.GUID(), out));
        EXPECT_THROW(manager.Get(secret.GUID(), out), std::runtime_error);
        EXPECT_FALSE(manager.Get(ui::var::Base().GUID(), out));
    }
    boost::archive::polymorphic_text_iarchive in(stream);
    Value<std::string> const readName;
    Value<double> const readGain;
    EXPECT_TRUE(manager.Set(readName.GUID(), in) && manager.Set(readGain.GUID(), in));
    EXPECT_THROW(manager.Set(limited.GUID(), in), std::runtime_error);
    EXPECT_EQ(readName.Get(), "a\nb c");
    EXPECT_EQ(readGain + limited, 2.1);
}

TEST(Value, AssigningTellsTheFrontEnds) {
    RecordingListener listener;
    int const slot = ui::PanelManagerInstance()->Register(&listener);
    Value<double> gain(1, {0.0, 4.0, 0.5});
    gain.Attr("visible", "TRUE");
    listener.Heard();
    gain = 2.0;
    EXPECT_THROW(gain = 5.0, std::runtime_error);
    EXPECT_EQ(listener.Heard(), "data 2 " + std::to_string(gain.GUID()) + "; ");
    ui::PanelManagerInstance()->UnRegister(slot);
    Value<double> const same(gain);
    Value<double> const adopted{static_cast<ui::var::Base const&>(gain)};
    gain = 3.0;
    EXPECT_EQ(same + adopted, 6.0);
    EXPECT_EQ(gain.GetValue<std::string>(), "3");
    ui::wgt::Widget const widget(gain.GUID());
    EXPECT_EQ(widget.Attr("min") + ' ' + widget.Attr("max") + ' ' + widget.Attr("step"), "0 4 0.5");
    EXPECT_THROW(Value<int>{static_cast<ui::var::Base const&>(gain)}.Get(), boost::bad_any_cast);
}

TEST(Value, FileAndVariableFollowEachOther) {
    INIFile ini;
    INIFile* const section = ini.Node("CAMERA");
    section->Set("MODE", "LINE");
    testing::internal::CaptureStdout();
    Value<double> gain("GAIN", section, 1.5, {0.0, 4.0, {}});
    Value<Trigger> mode("MODE", section, Trigger::Free);
    Value<std::string> const name("NAME", &ini, std::string("cam"));
    EXPECT_TRUE(ui::conf::Bind(gain.GUID(), "GAIN", section, "2"));
    EXPECT_TRUE(ui::conf::Bind(name.GUID(), "TITLE", &ini, " x ")) << "a literal is a text default";
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(section->Get("GAIN", ""), "1.5");
    EXPECT_EQ(mode, Trigger::Line);
    EXPECT_EQ(name.Get(), " x ");
    gain = 0.1;
    mode = Trigger::Free;
    ui::conf::Save(&ini);
    EXPECT_EQ(section->Get("GAIN", 0.0), 0.1);
    EXPECT_EQ(section->Get("MODE", ""), "FREE");
    section->Set("GAIN", "4");
    ui::conf::Load(&ini);
    EXPECT_EQ(gain, 4);
    EXPECT_TRUE(ui::conf::Bind(gain.GUID(), "GAIN", section));
    EXPECT_TRUE(ui::conf::Bind(gain.GUID(), "GAIN", section, boost::any(1.0)));
    char const* const null = nullptr;
    EXPECT_THROW(ui::conf::Bind(gain.GUID(), "GAIN", section, null), std::logic_error);
}

} // namespace
