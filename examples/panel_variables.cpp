// Variables that an INI file keeps and a front end shows: panel_variables [file.ini]
//
// Change a value here ("GAIN = 2") or in the file: it shows in the other.

#include "ini_follower.h"
#include "ui/panel/Backend.h"
#include "ui/panel/Value.h"
#include "ui/panel/Widget.h"

#include <boost/thread/thread.hpp>

#include <exception>
#include <iostream>
#include <memory>
#include <string>

enum class Trigger { Free, Line, Software };

template <>
struct ui::var::EnumNames<Trigger> {
    static constexpr std::pair<Trigger, char const*> values[] = {
        {Trigger::Free, "FREE"}, {Trigger::Line, "LINE"}, {Trigger::Software, "SOFTWARE"}};
};

namespace {

// Ends when interrupted. What goes wrong is said once.
void Follow(IniFollower& file) {
    std::string said;
    for (;;) {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(300));
        std::string failure;
        try {
            file.Step();
        } catch (std::exception const& error) {
            failure = error.what();
        }
        if (!failure.empty() && failure != said) {
            std::cout << failure + '\n' << std::flush;
        }
        said = failure;
    }
}

void Run(std::string const& path) {
    IniFollower file(path);
    kiv::ini::INIFile* const camera = file.Ini().Node("CAMERA");
    ui::var::Value<double> const gain("GAIN", camera, 1.0, {0.0, 4.0, 0.1});
    ui::var::Value<Trigger> const trigger("TRIGGER", camera, Trigger::Free);
    ui::var::Value<math::Point2<double>> const centre("CENTRE", camera, {320.0, 240.0});
    file.Step(); // writes the defaults of what was missing

    std::unique_ptr<ui::Backend> const terminal(
        kiv::Singleton<ui::BackendFactory>::Instance()->GetAllocator("Terminal")());
    ui::wgt::Widget panel("panel", ui::null_guid);
    panel.Attr("label", "Camera");
    for (ui::var::Base const& variable :
         {ui::var::Base(gain), ui::var::Base(trigger), ui::var::Base(centre)}) {
        panel.Add(ui::wgt::Widget(variable.GUID()));
    }
    panel.Attr("visible", "TRUE");

    boost::thread follower([&] { Follow(file); });
    terminal->Run();
    follower.interrupt();
    follower.join();

    file.Step();
    std::cout << "The camera would run with a gain of " << gain << '\n';
}

} // namespace

int main(int argc, char** argv) {
    try {
        Run(argc > 1 ? argv[1] : "panel_variables.ini");
        return 0;
    } catch (std::exception const& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
