#include "support/PictureCompare.h"

#include "cimage/ImageIO.h"

#include <boost/filesystem.hpp>
#include <boost/property_tree/ptree.hpp>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace tests {

namespace {

using Colour = cimage::TRGBA<unsigned char>;

/// What differs between two pictures of one size.
struct Difference {
    Picture picture;
    unsigned pixels = 0;
    unsigned firstX = 0;
    unsigned firstY = 0;
    int largest = 0;
};

unsigned char Brightened(int distance) {
    return static_cast<unsigned char>(std::min(255, distance * 4 + (distance > 0 ? 60 : 0)));
}

Difference Compare(Picture const& actual, Picture const& golden, int tolerance) {
    Difference result{Picture(actual.Width(), actual.Height())};
    for (unsigned y = 0; y < actual.Height(); ++y) {
        for (unsigned x = 0; x < actual.Width(); ++x) {
            Colour const& p = actual(x, y);
            Colour const& q = golden(x, y);
            int const r = std::abs(p.r - q.r);
            int const g = std::abs(p.g - q.g);
            int const b = std::abs(p.b - q.b);
            int const distance = std::max({r, g, b, std::abs(p.a - q.a)});
            result.picture(x, y) = {Brightened(r), Brightened(g), Brightened(b), 255};
            result.largest = std::max(result.largest, distance);
            if (distance > tolerance && result.pixels++ == 0) {
                result.firstX = x;
                result.firstY = y;
            }
        }
    }
    return result;
}

void SavePicture(boost::filesystem::path const& path, Picture const& picture) {
    boost::filesystem::create_directories(path.parent_path());
    cimage::Save(path.string(), picture, {});
}

/// Leaves a picture in the test output. @return its path
std::string LeavePicture(std::string const& name, char const* what, Picture const& picture) {
    auto const path = boost::filesystem::path(QUARN_TEST_OUTPUT) / (name + what);
    SavePicture(path, picture);
    return path.string();
}

testing::AssertionResult
CompareWithGolden(Picture const& picture, std::string const& name, int tolerance) {
    auto const path = boost::filesystem::path(QUARN_TEST_GOLDEN) / (name + ".png");
    if (char const* update = std::getenv("QUARN_UPDATE_GOLDEN"); update && *update == '1') {
        SavePicture(path, picture);
        return testing::AssertionSuccess();
    }
    Picture golden;
    boost::property_tree::ptree metadata;
    try {
        cimage::Load(path.string(), golden, metadata);
    } catch (std::runtime_error const& error) {
        return testing::AssertionFailure()
               << error.what() << "; actual " << LeavePicture(name, "_actual.png", picture);
    }
    if (golden.Width() != picture.Width() || golden.Height() != picture.Height()) {
        return testing::AssertionFailure()
               << name << " is " << picture.Width() << "x" << picture.Height() << ", not "
               << golden.Width() << "x" << golden.Height() << "; actual "
               << LeavePicture(name, "_actual.png", picture);
    }
    Difference const difference = Compare(picture, golden, tolerance);
    if (difference.pixels == 0) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << name << " differs in " << difference.pixels << " pixels, first (" << difference.firstX
           << ", " << difference.firstY << "), by up to " << difference.largest << "; actual "
           << LeavePicture(name, "_actual.png", picture) << ", difference "
           << LeavePicture(name, "_difference.png", difference.picture);
}

} // namespace

testing::AssertionResult
MatchesGolden(Picture const& picture, std::string const& name, int tolerance) {
    try {
        return CompareWithGolden(picture, name, tolerance);
    } catch (std::exception const& error) {
        return testing::AssertionFailure() << name << ": " << error.what();
    }
}

} // namespace tests
