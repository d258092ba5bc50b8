#include "kiv/Diagnostics.h"
#include "kiv/ParseNumber.h"
#include "ui/win/camera/Navigation.h"

#include <boost/algorithm/string/trim.hpp>
#include <boost/current_function.hpp>
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <boost/thread/lock_guard.hpp>

#include <cstring>
#include <fstream>
#include <iterator>
#include <locale>
#include <sstream>
#include <stdexcept>

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
            throw std::runtime_error(path + ": `" + text + "' is not a number");
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

/// Where the tag, comment or other markup that begins at `begin` ends; npos when it does not.
std::size_t EndOfMarkup(std::string const& text, std::size_t begin) {
    constexpr char const* pairs[][2] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
    for (auto const& [start, end] : pairs) {
        if (text.compare(begin, std::strlen(start), start) == 0) {
            return text.find(end, begin);
        }
    }
    for (std::size_t i = begin; i != std::string::npos && i < text.size(); ++i) {
        if (text[i] == '>') {
            return i;
        }
        if (text[i] == '"' || text[i] == '\'') {
            i = text.find(text[i], i + 1); // a value may have any character
            if (i == std::string::npos) {
                break;
            }
        }
    }
    return std::string::npos;
}

/// The parser works its way down by recursion; a file made to be deep must not end the process.
void RefuseDeepText(std::string const& text) {
    int depth = 0;
    std::size_t i = text.find('<');
    while (i != std::string::npos) {
        std::size_t const end = EndOfMarkup(text, i);
        if (end == std::string::npos) {
            return; // the parser says what is wrong
        }
        char const kind = text[i + 1];
        if (kind == '/') {
            --depth;
        } else if (kind != '!' && kind != '?' && text[end - 1] != '/' && ++depth > deepestElement) {
            throw std::runtime_error("elements are nested too deeply");
        }
        i = text.find('<', end);
    }
}

std::vector<Segment> ReadSegments(std::string const& path) {
    namespace xml = boost::property_tree::xml_parser;
    std::ifstream file(path, std::ios::binary);
    std::string const text{std::istreambuf_iterator<char>(file), {}};
    if (!file) {
        throw std::runtime_error(path + ": cannot read file");
    }
    RefuseDeepText(text);
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
    std::ofstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error(path + ": cannot open file");
    }
    xml::write_xml(file, tree, xml::xml_writer_make_settings<std::string>('\t', 1, "utf-8"));
    if (!file.flush()) {
        throw std::runtime_error(path + ": cannot write file");
    }
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
