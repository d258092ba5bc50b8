// Shows image files in a window: quarn-view [options] [file or folder ...]

#include "cimage/ImageIO.h"
#include "examples/viewer_files.h"
#include "kiv/ini/INIFile.h"
#include "ui/win/CWindow.h"
#include "ui/win/CWindowCommands.h"
#include "ui/win/Keys.h"
#include "ui/win/camera/CWindowCamera2D.h"
#include "ui/win/widgets/Gadgets.h"

#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <boost/property_tree/ptree.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <sstream>
#include <streambuf>
#include <string_view>

namespace {

using namespace ui::win;
using Files = std::vector<std::string>;

constexpr char windowName[] = "quarn view"; // its place is remembered under the letters of this
constexpr CWindow::Colour background(40, 40, 40, 255);
constexpr CWindow::Colour panelColour(0, 0, 0, 200);
constexpr CWindow::Colour white(255, 255, 255, 255);

constexpr char usage[] =
    "usage: quarn-view [options] [file or folder ...]\n"
    "\n"
    "Shows PNG, JPEG, TIFF, PGM and PPM images one at a time; of a folder, all of them.\n"
    "Without a file or folder it shows the current folder. H in the window lists the keys.\n"
    "\n"
    "  --driver NAME    SDL, Offscreen, ...; otherwise QUARN_DRIVER, or what there is\n"
    "  --output FOLDER  where views are saved; the current folder otherwise\n"
    "  --ini FILE       settings and the window's place;\n"
    "                   quarn-view.ini in the user's configuration folder otherwise\n"
    "  --save-views     saves the first view of each image and ends; needs no display\n"
    "  --verbose        prints what the library tells\n"
    "  --help           this text\n";

struct Options {
    std::vector<std::string> paths;
    std::string driver;
    std::string output = ".";
    std::string ini;
    bool saveViews = false;
    bool verbose = false;
    bool help = false;
};

Options ParseOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        std::string const word = argv[i];
        auto const value = [&] {
            if (i + 1 == argc) {
                throw std::invalid_argument(word + " needs a value");
            }
            return std::string(argv[++i]);
        };
        if (word == "--driver") {
            options.driver = value();
        } else if (word == "--output") {
            options.output = value();
        } else if (word == "--ini") {
            options.ini = value();
        } else if (word == "--save-views") {
            options.saveViews = true;
        } else if (word == "--verbose") {
            options.verbose = true;
        } else if (word == "--help") {
            options.help = true;
        } else if (word.size() > 1 && word[0] == '-') {
            throw std::invalid_argument("there is no option " + word);
        } else {
            options.paths.push_back(word);
        }
    }
    return options;
}

/// The file that remembers; empty where the user has no place for such files.
std::string SettingsPath() {
    if (char const* const folder = std::getenv("XDG_CONFIG_HOME"); folder && *folder) {
        return std::string(folder) + "/quarn-view.ini";
    }
    char const* const home = std::getenv("HOME");
    return home != nullptr && *home != '\0' ? std::string(home) + "/.config/quarn-view.ini" : "";
}

/// Lets only the library's errors through. It writes a line at a time.
class ErrorsOnly : public std::streambuf {
public:
    ErrorsOnly() : m_console(std::cout.rdbuf(this)) {}
    ~ErrorsOnly() override { std::cout.rdbuf(m_console); }

private:
    std::streamsize xsputn(char const* text, std::streamsize count) override {
        bool const isError =
            std::string_view(text, static_cast<std::size_t>(count)).substr(0, 4) == "[EE]";
        return isError ? m_console->sputn(text, count) : count;
    }
    int sync() override { return m_console->pubsync(); }

    std::streambuf* m_console;
};

/// One image after the other in one window. Belongs to the main thread.
class Viewer {
public:
    explicit Viewer(Files files);

    /// Shows the window until the user is done.
    void Run();
    void SaveViews();

private:
    struct Command {
        char const* keys;
        char const* description;
        std::vector<std::uint32_t> codes;
        void (Viewer::*run)();
    };
    static std::vector<Command> const& Commands();

    void ChooseSize();
    void Remember();
    void OnBackend(boost::function<void(CWindowCoreManager*)> const& function);

    void Handle(Event const& event);
    void ShowPointer(int x, int y);

    void Load();
    void Draw();
    void DrawKeys();
    /// Puts the image in the middle of the window, as large as it fits.
    /// @param least,most pixels of the image that one of the window may stand for
    void Place(double least, double most);
    /// Places images from now on as the user has asked for last.
    void FitAgain() { Place(m_least, HUGE_VAL); }
    void Say(std::string const& text);

    void Show(std::size_t index);
    void Next() { Show((m_index + 1) % m_files.size()); }
    void Previous() { Show((m_index + m_files.size() - 1) % m_files.size()); }
    void First() { Show(0); }
    void Last() { Show(m_files.size() - 1); }
    void Fit() {
        m_least = 0;
        FitAgain();
    }
    void Actual() {
        m_least = 1;
        Place(1, 1);
    }
    void ZoomIn() { Zoom(1.25F); }
    void ZoomOut() { Zoom(0.8F); }
    void Zoom(float factor);
    void ToggleRange();
    void NextColours();
    void ToggleProperties();
    void SaveView();
    void ToggleKeys();
    void FullScreen();
    void Quit() { m_running = false; }

    Files m_files;
    CWindow m_window;
    boost::shared_ptr<CCamera2D> m_camera = boost::make_shared<CCamera2D>();
    CWindow::SPImage m_image; // null when the file cannot be read
    std::string m_trouble;
    std::size_t m_index = 0;
    bool m_fitted = true;
    double m_least = 1; // what fitting calls Place() with; 0 to enlarge small images too
    bool m_autoRange = false;
    int m_colours = ColorMapOff;
    bool m_showsKeys = false;
    bool m_running = true;
};

std::vector<Viewer::Command> const& Viewer::Commands() {
    static std::vector<Command> const commands = {
        {"Space, Right, N", "next image", {' ', KeyRight, 'n'}, &Viewer::Next},
        {"Backspace, Left, P", "previous image", {KeyBackspace, KeyLeft, 'p'}, &Viewer::Previous},
        {"Home, End", "first, last image", {KeyHome}, &Viewer::First},
        {nullptr, nullptr, {KeyEnd}, &Viewer::Last},
        {"0, 1", "fit into the window, one to one", {'0'}, &Viewer::Fit},
        {nullptr, nullptr, {'1'}, &Viewer::Actual},
        {"+, -", "zoom, as the wheel does; drag with the left button", {'+', '='}, &Viewer::ZoomIn},
        {nullptr, nullptr, {'-'}, &Viewer::ZoomOut},
        {"F, F11", "full screen", {'f', KeyF11}, &Viewer::FullScreen},
        {"A", "stretch grey levels to what the image uses", {'a'}, &Viewer::ToggleRange},
        {"C", "colours of grey levels", {'c'}, &Viewer::NextColours},
        {"I", "texts of the image file", {'i'}, &Viewer::ToggleProperties},
        {"S", "save this view", {'s'}, &Viewer::SaveView},
        {"Ctrl + F2", "ruler", {}, nullptr},
        {"Ctrl + V", "values of magnified pixels", {}, nullptr},
        {"Ctrl + H", "what else the window can do", {}, nullptr},
        {"H", "this list", {'h', '?'}, &Viewer::ToggleKeys},
        {"Q, Escape", "quit", {'q', KeyEscape}, &Viewer::Quit},
    };
    return commands;
}

Viewer::Viewer(Files files)
    : m_files(std::move(files)),
      m_window(windowName, 640, 480, static_cast<int>(StateKeyboard | StateFreeAspect)) {
    m_window.SetEventMask(EventKey | EventMotion | EventWindow);
    m_window.SetBackgroundColor(background);
    m_window.SetCamera(m_camera);
    OnBackend([](CWindowCoreManager* manager) {
        auto* const plugin = manager->FindPlugin("StatusBar");
        if (auto* bar = plugin ? dynamic_cast<StatusBar*>(plugin->widget.get()) : nullptr) {
            plugin->enabled = true;
            bar->SetMode(StatusBar::ModeUser);
        }
    });
    Load();
    ChooseSize();
    FitAgain();
    Draw();
}

void Viewer::OnBackend(boost::function<void(CWindowCoreManager*)> const& function) {
    auto const command = boost::make_shared<CWndCommand_Call>(function);
    if (m_window.SendCommand(command, 0)) {
        command->Suspend();
    }
}

/// As last time, else as large as the first image, and no larger than most of the screen.
void Viewer::ChooseSize() {
    bool remembered = false;
    OnBackend(
        [&](CWindowCoreManager* manager) { remembered = manager->LoadAndApplyStatusFromDisk(); });
    if (!remembered && m_image) {
        ScreenGeometry screen;
        m_window.GetScreenGeometry(screen);
        double const w = m_image->Width();
        double const h = m_image->Height();
        double const room =
            screen.width > 0 ? std::min(0.8 * screen.width / w, 0.8 * screen.height / h) : 1.0;
        double const scale = std::max(std::min(1.0, room), 320 / w);
        m_window.SetSize(
            static_cast<unsigned>(std::max(320.0, w * scale)),
            static_cast<unsigned>(std::max(240.0, h * scale)));
    }
}

void Viewer::Remember() {
    m_window.SetTitle(windowName);
    OnBackend([](CWindowCoreManager* manager) { manager->SaveStatusOnDisk(); });
}

void Viewer::Run() {
    ScreenGeometry screen;
    m_window.GetScreenGeometry(screen);
    if (screen.width == 0) {
        throw std::runtime_error("there is no display; --save-views needs none");
    }
    m_window.SetVisibility(true);
    while (m_running && m_window.WaitForEvent()) {
        Event motion;
        for (Event event; m_running && m_window.GetNextEvent(event);) {
            if (event.type == EventMotion) {
                motion = event; // only the last one matters
            } else {
                Handle(event);
            }
        }
        if (motion.type != 0 && m_running) {
            ShowPointer(motion.screenX, motion.screenY);
        }
    }
    Remember();
}

void Viewer::SaveViews() {
    for (m_index = 0; m_index < m_files.size(); ++m_index) {
        Show(m_index);
        SaveView();
    }
}

void Viewer::Handle(Event const& event) {
    if (event.type == EventWindow) {
        if (event.key == WindowClosed || event.key == WindowDisplayLost) {
            Quit();
        } else if (event.key == WindowResized && m_fitted) {
            FitAgain();
        }
    } else if (event.type == EventKey && (event.state & StateCtrl) == 0) {
        std::uint32_t const key =
            event.key >= 'A' && event.key <= 'Z' ? event.key - 'A' + 'a' : event.key;
        for (Command const& command : Commands()) {
            if (std::count(command.codes.begin(), command.codes.end(), key) != 0) {
                (this->*command.run)();
                return;
            }
        }
    }
}

void Viewer::ShowPointer(int x, int y) {
    std::ostringstream text;
    ImageCounts counts;
    if (m_image && m_window.GetImageCounts(x, y, counts)) {
        text << counts.x << ", " << counts.y << ":";
        for (std::size_t i = 0; i < counts.channels; ++i) {
            text << ' ' << counts.values[i];
        }
    }
    Say(text.str());
}

void Viewer::Say(std::string const& text) {
    std::ostringstream line;
    line << boost::filesystem::path(m_files[m_index]).filename().string();
    if (m_image) {
        line << "  " << m_image->Width() << " x " << m_image->Height() << ' '
             << PixelTypeName(*m_image);
    }
    line << (text.empty() ? "" : "   ") << text;
    m_window.SetCustomStatusBar(line.str());
}

void Viewer::Load() {
    m_image.reset();
    try {
        m_image = cimage::CreateFromFile(m_files[m_index], boost::property_tree::ptree());
        m_trouble.clear();
    } catch (std::exception const& error) {
        m_trouble = error.what();
        std::cerr << "quarn-view: " << m_trouble << '\n';
    }
}

void Viewer::Show(std::size_t index) {
    m_index = index;
    Load();
    FitAgain();
    Draw();
}

void Viewer::Place(double least, double most) {
    m_fitted = most > 1;
    OnBackend([&](CWindowCoreManager* manager) {
        double const width = manager->Width();
        double const height = manager->Height();
        double const imageWidth = m_image ? m_image->Width() : width;
        double const imageHeight = m_image ? m_image->Height() : height;
        double const scale =
            std::clamp(std::max(imageWidth / width, imageHeight / height), least, most);
        // The camera keeps the proportions of the size that was asked for, and gives what a window
        // of others has beyond them to its right or lower edge.
        double const proportions =
            (manager->ContentWidth() * height) / (manager->ContentHeight() * width);
        m_camera->SetView(
            0,
            0,
            scale * width * std::min(1.0, proportions),
            scale * height * std::min(1.0, 1 / proportions));
        m_camera->Reset();
        m_camera->SetTranslation(
            {std::floor((scale * width - imageWidth) / 2),
             std::floor((scale * height - imageHeight) / 2)});
        manager->Refresh(false);
    });
}

void Viewer::Draw() {
    std::string const name = boost::filesystem::path(m_files[m_index]).filename().string();
    std::string const place =
        " (" + std::to_string(m_index + 1) + " of " + std::to_string(m_files.size()) + ")";
    m_window.SetTitle(name + place);
    m_window.SetLayer(0);
    m_window.Clear();
    if (m_image) {
        if (m_autoRange) {
            m_window.SetAutoImageRange();
        }
        m_window.SetColorMap(static_cast<ColorMap>(m_colours));
        m_window.DrawImage(0, 0, *m_image);
    } else {
        m_window.SetColor(white);
        m_window.DrawText(16, 16, m_trouble);
    }
    Say("");
    m_window.Refresh();
}

void Viewer::DrawKeys() {
    constexpr int lineHeight = 18;
    auto const lines = std::count_if(
        Commands().begin(), Commands().end(), [](Command const& c) { return c.keys != nullptr; });
    m_window.SetViewportMode(ViewPortPixels);
    m_window.SetBlend(BlendAlpha);
    m_window.SetColor(panelColour);
    m_window.DrawBox(16, 16, 480, 32 + static_cast<double>(lines) * lineHeight, true);
    m_window.SetColor(white);
    m_window.SetTextAlign(AlignLeft, AlignTop);
    m_window.SetFontSize(13, false);
    int y = 24;
    for (Command const& command : Commands()) {
        if (command.keys != nullptr) {
            m_window.DrawText(28, y, command.keys);
            m_window.DrawText(170, y, command.description);
            y += lineHeight;
        }
    }
}

void Viewer::ToggleKeys() {
    m_showsKeys = !m_showsKeys;
    m_window.SetLayer(1);
    m_window.Clear();
    if (m_showsKeys) {
        DrawKeys();
    }
    m_window.EnableLayer(1, m_showsKeys);
    m_window.SetLayer(0);
    m_window.Refresh();
}

void Viewer::Zoom(float factor) {
    OnBackend([&](CWindowCoreManager* manager) {
        m_camera->SmoothZoom(manager, static_cast<float>(m_camera->Zoom()) * factor, 0.0F, 0.0F);
        manager->Refresh(false);
    });
    m_fitted = false;
}

void Viewer::FullScreen() {
    m_window.SetFullScreenMode(!m_window.IsFullScreen());
    if (m_fitted) {
        FitAgain();
    }
}

void Viewer::ToggleRange() {
    m_autoRange = !m_autoRange;
    Draw();
}

void Viewer::NextColours() {
    m_colours = m_colours == ColorMapViridis ? ColorMapOff : m_colours + 1;
    Draw();
}

void Viewer::ToggleProperties() {
    OnBackend([](CWindowCoreManager* manager) {
        if (auto* const plugin = manager->FindPlugin("StatusBar")) {
            auto& bar = dynamic_cast<StatusBar&>(*plugin->widget);
            bool const shown = bar.GetMode() == StatusBar::ModeImageProperty;
            bar.SetMode(shown ? StatusBar::ModeUser : StatusBar::ModeImageProperty);
            manager->Refresh(false);
        }
    });
}

void Viewer::SaveView() {
    std::string const name =
        boost::filesystem::path(m_files[m_index]).stem().string() + "-view.png";
    m_window.Dump(name);
    Say("saved as " + CWindowCoreManager::g_outputPath + "/" + name);
}

/// Reads the settings; a first start has none.
void LoadSettings(kiv::ini::INIFile& ini, std::string const& path) {
    if (boost::filesystem::exists(path)) {
        ini.Load(path);
    }
    if (!ini.Has("GUI DRIVER")) {
        ini.Set("GUI DRIVER", "Auto");
    }
}

void SaveSettings(kiv::ini::INIFile& ini, std::string const& path) {
    if (path.empty() || !ini.Modified()) {
        return;
    }
    boost::filesystem::path const folder = boost::filesystem::path(path).parent_path();
    if (!folder.empty()) {
        boost::filesystem::create_directories(folder);
    }
    ini.SaveAs(path);
}

int View(Options const& options) {
    Files files = FindImageFiles(options.paths);
    if (files.empty()) {
        throw std::runtime_error("there is no image to show");
    }
    std::string const settings = options.ini.empty() ? SettingsPath() : options.ini;
    kiv::ini::INIFile ini;
    LoadSettings(ini, settings);
    CWindow::setINIFile(&ini);
    if (!options.driver.empty()) {
        CWindow::setDriver(options.driver);
    }
    CWindow::setOutputPath(options.output);
    {
        Viewer viewer(std::move(files));
        if (options.saveViews) {
            viewer.SaveViews();
            return 0;
        }
        viewer.Run();
    }
    SaveSettings(ini, settings);
    return 0;
}

} // namespace

int main(int argc, char** argv) try {
    Options const options = ParseOptions(argc, argv);
    if (options.help) {
        std::cout << usage;
        return 0;
    }
    std::optional<ErrorsOnly> quiet;
    if (!options.verbose) {
        quiet.emplace();
    }
    return View(options);
} catch (std::invalid_argument const& error) {
    std::cerr << "quarn-view: " << error.what() << '\n' << usage;
    return 2;
} catch (std::exception const& error) {
    std::cerr << "quarn-view: " << error.what() << '\n';
    return 1;
}
