#pragma once

#include "ui/win/CWindowCoreManager.h"

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace tests {

/// A backend that draws nothing and writes down every drawing call, one line each:
///
///     DrawBox 10 20 30 40 1
///     DrawQuads (1,0 2,0 2,1 1,1)       vertices as commas, a list in parentheses
///     DrawImage 10,20 74,68 [64x48:13]  images as size and pixel type
///
/// Texts are 8 wide for each byte and 16 high, frames are pictures of one colour. Queries are
/// answered but not written down.
class RecordingCore : public ui::win::CWindowCoreManager {
public:
    explicit RecordingCore(unsigned width = 640, unsigned height = 480);
    explicit RecordingCore(ui::win::CreationParams const& params);

    /// The lines so far, which are forgotten.
    std::vector<std::string> Take() { return std::exchange(log, {}); }
    /// Lines of one operation.
    std::size_t Count(std::string const& operation) const;

    std::vector<std::string> log;
    bool answer = true; ///< what drawing operations answer
    Colour colour{255, 255, 255, 255};
    SPImage lastImage; ///< of the last DrawImage or BindImage
    cimage::TRGB<unsigned char> frameColour{1, 2, 3};

    using Point2f = math::Point2<float>;
    using Point3f = math::Point3<float>;
    using C4UB = ui::win::C4UB_V3F_t;
    using T2F = ui::win::T2F_V3F_t;

    std::string GetConnectionString() const override { return {}; }
    bool Refresh(bool wait) override { return Log("Refresh", wait); }

    void SetViewPort(
        ui::win::ViewPortMode mode,
        ui::win::CWindowViewPort* viewPort,
        boost::shared_ptr<ui::win::CCamera> camera) override;
    bool BindImage(SPImage const& i) override { return Log("BindImage", lastImage = i); }
    bool DrawImage(Point3f const* c, SPImage const& i) override {
        return Log("DrawImage", Array(c, 4), lastImage = i);
    }
    bool DrawImage(Point2f const& p0, Point2f const& p1, SPImage const& i) override {
        return Log("DrawImage", p0, p1, lastImage = i);
    }
    bool DrawLine(double a, double b, double c, double d) override {
        return Log("DrawLine", a, b, c, d);
    }
    bool DrawBox(double a, double b, double c, double d, bool filled) override {
        return Log("DrawBox", a, b, c, d, filled);
    }
    bool DrawEllipse(double a, double b, double c, double d, double s, double e, bool f) override {
        return Log("DrawEllipse", a, b, c, d, s, e, f);
    }
    bool DrawPixels(Point2f const* p, unsigned n) override {
        return Log("DrawPixels", Array(p, n));
    }
    bool DrawPixels(Point3f const* p, unsigned n) override {
        return Log("DrawPixels", Array(p, n));
    }
    bool DrawPixels(C4UB const* p, unsigned n) override { return Log("DrawPixels", Array(p, n)); }
    bool DrawPixels(T2F const* p, unsigned n) override { return Log("DrawPixels", Array(p, n)); }
    bool DrawPolyLine(Point2f const* p, unsigned n, bool closed) override {
        return Log("DrawPolyLine", Array(p, n), closed);
    }
    bool DrawPolyLine(Point3f const* p, unsigned n, bool closed) override {
        return Log("DrawPolyLine", Array(p, n), closed);
    }
    bool DrawLineStream(Point2f const* p, unsigned n) override {
        return Log("DrawLineStream", Array(p, 2 * n));
    }
    bool DrawLineStream(Point3f const* p, unsigned n) override {
        return Log("DrawLineStream", Array(p, 2 * n));
    }
    bool DrawLineStream(C4UB const* p, unsigned n) override {
        return Log("DrawLineStream", Array(p, 2 * n));
    }
    bool DrawTriangles(Point2f const* p, unsigned n) override {
        return Log("DrawTriangles", Array(p, 3 * n));
    }
    bool DrawTriangles(Point3f const* p, unsigned n) override {
        return Log("DrawTriangles", Array(p, 3 * n));
    }
    bool DrawTriangles(C4UB const* p, unsigned n) override {
        return Log("DrawTriangles", Array(p, 3 * n));
    }
    bool DrawTriangles(T2F const* p, unsigned n) override {
        return Log("DrawTriangles", Array(p, 3 * n));
    }
    bool DrawTrianglesV3FN3F(Point3f const* p, unsigned n) override {
        return Log("DrawTrianglesV3FN3F", Array(p, 6 * n));
    }
    bool DrawQuads(Point2f const* p, unsigned n) override {
        return Log("DrawQuads", Array(p, 4 * n));
    }
    bool DrawQuads(Point3f const* p, unsigned n) override {
        return Log("DrawQuads", Array(p, 4 * n));
    }
    bool DrawQuads(C4UB const* p, unsigned n) override { return Log("DrawQuads", Array(p, 4 * n)); }
    bool DrawQuads(T2F const* p, unsigned n) override { return Log("DrawQuads", Array(p, 4 * n)); }

    void SetFontName(char const* name) override;
    bool SetFontSizeEx(double w, double h, bool world) override {
        return Log("SetFontSizeEx", w, h, world);
    }
    bool DrawText(math::Point3<double> const& p, char const* text) override {
        return Log("DrawText", p, text);
    }
    bool GetTextSize(math::Rect2<double>& rectangle, char const* text) override;
    bool SetColor(Colour c) override { return Log("SetColor", colour = c); }
    bool GetColor(Colour* c) override;
    bool EnableZBuffer(double zNear, double zFar) override;
    bool DisableZBuffer() override;
    bool SetTranslation(double dx, double dy, bool relative) override;
    bool SetBlend(ui::win::_BlendType_t type) override;
    bool EnableLight(
        int n, Point3f const& p, Colour const& a, Colour const& d, Colour const& s) override {
        return Log("EnableLight", n, p, a, d, s);
    }
    bool DisableLight(int n) override { return Log("DisableLight", n); }
    bool SetLineSmooth(bool smooth) override { return Log("SetLineSmooth", smooth); }
    bool SetLineWidth(float width) override { return Log("SetLineWidth", width); }
    bool SetPointSize(float size) override { return Log("SetPointSize", size); }
    bool SetImageRange(ui::win::ImageRange const& r) override {
        return Log("SetImageRange", r.kind, r.low, r.high);
    }
    bool SetColorMap(ui::win::ColorMap map) override { return Log("SetColorMap", map); }
    void RunExtension(char const* name) override { Log("RunExtension", name); }
    bool GetImage(cimage::CImage& image) override;
    void setLastDrawnImageMetadata(boost::property_tree::ptree const* metadata) override;

private:
    template <class V>
    struct ArrayOf {
        V const* vertices;
        unsigned count;
    };
    template <class V>
    static ArrayOf<V> Array(V const* vertices, unsigned count) {
        return {vertices, count};
    }

    template <class T>
    static void Write(std::ostream& out, T const& value) {
        out << value;
    }
    static void Write(std::ostream& out, char const* text) { out << '\'' << text << '\''; }
    static void Write(std::ostream& out, Point2f const& p) { out << p.x << ',' << p.y; }
    template <class T>
    static void Write(std::ostream& out, math::Point3<T> const& p) {
        out << p.x << ',' << p.y << ',' << p.z;
    }
    static void Write(std::ostream& out, Colour const& c) {
        out << +c.r << ',' << +c.g << ',' << +c.b << ',' << +c.a;
    }
    static void Write(std::ostream& out, C4UB const& v) {
        Write(out, Colour(v.r, v.g, v.b, v.a));
        out << ',' << v.x << ',' << v.y << ',' << v.z;
    }
    static void Write(std::ostream& out, T2F const& v) {
        out << v.s << ',' << v.t << ',' << v.x << ',' << v.y << ',' << v.z;
    }
    static void Write(std::ostream& out, SPImage const& i) {
        out << '[' << i->Width() << 'x' << i->Height() << ':' << i->Type() << ']';
    }
    template <class V>
    static void Write(std::ostream& out, ArrayOf<V> const& array) {
        for (unsigned i = 0; i < array.count; ++i) {
            Write(out << (i == 0 ? "(" : " "), array.vertices[i]);
        }
        out << (array.count == 0 ? "()" : ")");
    }

    template <class... Values>
    bool Log(char const* operation, Values const&... values) {
        std::ostringstream line;
        line << operation;
        (Write(line << ' ', values), ...);
        log.push_back(line.str());
        return answer;
    }
};

} // namespace tests
