#include "kiv/Diagnostics.h"
#include "kiv/FileIO.h"
#include "kiv/ParseNumber.h"
#include "ui/win/camera/Navigation.h"

#include <boost/algorithm/string/trim.hpp>
#include <boost/current_function.hpp>
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <cstring>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace ui::win {

namespace {

using boost::property_tree::ptree;
using Parameters = CCamera3D::Parameters;
using Segment = Navigation::Segment;

constexpr char rootName[] = "segments";
constexpr int deepestElement = 256;

/// Numbers as files have them, whatever the locale of the process.
using NumberText = boost::property_tree::
    stream_translator<char, std::char_traits<char>, std::allocator<char>, double>;

struct Field {
    char const* name;
    double Parameters::*value;
};
/// In the order of the file.
constexpr Field setUpFields[] = {
    {"x", &Parameters::x},
    {"y", &Parameters::y},
    {"z", &Parameters::z},
    {"yaw", &Parameters::yaw},
    {"pitch", &Parameters::pitch},
    {"roll", &Parameters::roll},
    {"ku", &Parameters::ku},
    {"ratio", &Parameters::ratio}};

/// Takes the values of a segment to a tree, or from it; both walk the same places.
class SegmentWriter {
public:
    explicit SegmentWriter(ptree& tree) : m_tree(tree) {}
    void Number(std::string const& path, double value) {
        m_tree.put(path, value, NumberText(std::locale::classic()));
    }
    void Smoothing(std::string const& path, Segment::SmoothingType type) {
        m_tree.put(path, Segment::SmoothingTypeEncode(type));
    }

private:
    ptree& m_tree;
};

class SegmentReader {
public:
    explicit SegmentReader(ptree const& tree) : m_tree(tree) {}
    /// Also takes what is no number as it is written: a path that was saved can be loaded.
    void Number(std::string const& path, double& value) {
        std::string const text = boost::trim_copy(m_tree.get<std::string>(path));
        if (!kiv::ParseNumber(text, value)) {
            throw std::runtime_error(path + " is not a number"); // its text may be of many lines
        }
    }
    void Smoothing(std::string const& path, Segment::SmoothingType& type) {
        type = Segment::SmoothingTypeDecode(m_tree.get<std::string>(path));
    }

private:
    ptree const& m_tree;
};

template <class Visitor, class Point>
void VisitPoint(Visitor& visitor, std::string const& path, Point& point) {
    visitor.Number(path + ".x", point.x);
    visitor.Number(path + ".y", point.y);
    visitor.Number(path + ".z", point.z);
}

/// Visits every value that files have of a segment, in their order.
template <class Visitor, class AnySegment>
void Visit(Visitor visitor, AnySegment& s) {
    for (Field const& field : setUpFields) {
        visitor.Number(std::string("begin.") + field.name, s.begin.*field.value);
    }
    for (Field const& field : setUpFields) {
        visitor.Number(std::string("end.") + field.name, s.end.*field.value);
    }
    visitor.Smoothing("smoothing.position", s.smoothingPosition);
    visitor.Smoothing("smoothing.orientation", s.smoothingOrientation);
    visitor.Smoothing("smoothing.focal", s.smoothingFocal);
    visitor.Number("duration", s.duration);
    VisitPoint(visitor, "look_at.begin", s.lookAtBegin);
    VisitPoint(visitor, "look_at.end", s.lookAtEnd);
}

/// Finds its way through markup as the parser does, which takes what it meets to be well formed.
class MarkupScanner {
public:
    explicit MarkupScanner(std::string const& text) : m_text(text) {}

    /// How many elements lie within each other at the most.
    /// @throws std::runtime_error for markup that has no end or is none of a path's file
    int Depth() {
        int depth = 0;
        int deepest = 0;
        while ((m_at = m_text.find('<', m_at)) != std::string::npos) {
            if (SkipOver("<!--", "-->") || SkipOver("<![CDATA[", "]]>") || SkipOver("<?", "?>")) {
                continue;
            }
            bool const closes = m_text.compare(m_at, 2, "</") == 0;
            m_at += closes ? 2 : 1;
            if (closes) {
                --depth;
            } else if (SkipTag()) {
                deepest = std::max(deepest, ++depth);
            }
            if (depth < 0) {
                Fail();
            }
        }
        return deepest;
    }

private:
    [[noreturn]] static void Fail() { throw std::runtime_error("malformed markup"); }

    bool SkipOver(char const* start, char const* end) {
        if (m_text.compare(m_at, std::strlen(start), start) != 0) {
            return false;
        }
        SkipPast(m_text.find(end, m_at + std::strlen(start)));
        return true;
    }
    /// @return whether the element has contents
    bool SkipTag() {
        if (m_text.compare(m_at, 1, "!") == 0) {
            Fail(); // document types would bring their own rules
        }
        SkipUntil(std::string_view(" \n\r\t/>?\0", 8));
        for (;;) {
            SkipSpace();
            char const next = m_text[m_at];
            if (next == '>' || next == '/') {
                return next == '>';
            }
            SkipUntil(std::string_view(" \n\r\t/<>=?!\0", 11));
            SkipSpace();
            if (m_text[m_at] != '=') {
                Fail();
            }
            ++m_at;
            SkipSpace();
            char const quote = m_text[m_at];
            if (quote != '"' && quote != '\'') {
                Fail();
            }
            SkipPast(m_text.find(quote, m_at + 1)); // a value may have any other character
        }
    }
    void SkipPast(std::size_t place) {
        if (place == std::string::npos) {
            Fail();
        }
        m_at = place + 1;
    }
    void SkipSpace() { SkipTo(m_text.find_first_not_of(" \n\r\t", m_at)); }
    void SkipUntil(std::string_view ends) { SkipTo(m_text.find_first_of(ends, m_at)); }
    void SkipTo(std::size_t place) {
        if (place == std::string::npos) {
            Fail();
        }
        m_at = place;
    }

    std::string const& m_text;
    std::size_t m_at = 0;
};

std::vector<Segment> ReadSegments(std::string const& path) {
    namespace xml = boost::property_tree::xml_parser;
    std::string const text = kiv::ReadFile(path);
    // The parser goes down by recursion; a file made to be deep must not end the process.
    if (MarkupScanner(text).Depth() > deepestElement) {
        throw std::runtime_error("elements are nested too deeply");
    }
    std::istringstream stream(text);
    ptree tree;
    xml::read_xml(stream, tree, xml::trim_whitespace | xml::no_comments);
    std::vector<Segment> segments;
    for (auto const& [name, child] : tree.get_child(rootName)) {
        segments.emplace_back();
        Visit(SegmentReader(child), segments.back());
    }
    return segments;
}

void WriteSegments(std::string const& path, std::vector<Segment> const& segments) {
    namespace xml = boost::property_tree::xml_parser;
    ptree tree;
    tree.put(rootName, ""); // an empty path has its root as well
    for (std::size_t i = 0; i < segments.size(); ++i) {
        ptree segment;
        Visit(SegmentWriter(segment), segments[i]);
        tree.add_child(std::string(rootName) + ".s" + std::to_string(i), segment);
    }
    std::ostringstream text;
    xml::write_xml(text, tree, xml::xml_writer_make_settings<std::string>('\t', 1, "utf-8"));
    kiv::ReplaceFile(path, text.str());
}

} // namespace

void Navigation::Save() const {
    try {
        WriteSegments(FileName(), Segments());
    } catch (std::exception const& error) {
        kiv::Diagnose("[EE]", BOOST_CURRENT_FUNCTION, std::string("Exception ") + error.what());
    }
}

void Navigation::Load() {
    try {
        std::vector<Segment> segments = ReadSegments(FileName());
        boost::lock_guard<boost::mutex> const lock(m_mutex);
        m_segments.swap(segments);
        m_splinesStale = true;
    } catch (std::exception const& error) {
        kiv::Diagnose("[EE]", BOOST_CURRENT_FUNCTION, std::string("Exception ") + error.what());
    }
}

} // namespace ui::win
