#include "bench/Compare.h"
#include "cimage/TImage.h"
#include "tests/sdl/XServer.h"
#include "ui/win/CWindow.h"
#include "ui/win/CWindowCommands.h"
#include "ui/win/camera/CWindowCamera2D.h"

#include <boost/make_shared.hpp>

#include <SDL2/SDL.h>

#ifdef QUARN_BENCH_HIGHGUI
#include <opencv2/highgui.hpp>
#endif

#include <array>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <thread>

namespace bench {

namespace {

using ui::win::CCamera2D;
using ui::win::CWindow;
using ui::win::CWindowCoreManager;
using ui::win::Event;
using RGB = cimage::TRGB<unsigned char>;
using Image = cimage::TImage<RGB>;

constexpr unsigned width = 1920;
constexpr unsigned height = 1080;

boost::shared_ptr<Image> MakeImage(unsigned w, unsigned h, unsigned seed) {
    auto const image = boost::make_shared<Image>(w, h);
    for (unsigned y = 0; y < h; ++y) {
        unsigned char* const row = image->Bytes(y);
        for (unsigned i = 0; i < w * 3; ++i) {
            seed = seed * 1664525 + 1013904223;
            row[i] = static_cast<unsigned char>(i / 8 + y / 4 + (seed >> 29));
        }
    }
    return image;
}

/// Two images that differ in every row, as a camera's frames do.
std::array<boost::shared_ptr<Image>, 2> const& Frames() {
    static std::array const frames = {MakeImage(width, height, 1), MakeImage(width, height, 99)};
    return frames;
}

CWindow MakeWindow() {
    ui::win::CreationParams params;
    params.driver = "SDL";
    params.title = "bench";
    params.x = params.y = 0;
    params.width = width;
    params.height = height;
    params.flags = ui::win::StateVisible | ui::win::StateUndecorated;
    return CWindow(params);
}

constexpr int warmUps = 8; // the first frames pay for their memory

/// Times a call that shows the frame of an index.
template <class Show>
void TimeFrames(benchmark::State& state, Show const& show) {
    std::size_t i = 0;
    while (i < warmUps) {
        show(i++ % 2);
    }
    for (auto _ : state) {
        show(i++ % 2);
    }
}

void ShowFrames(benchmark::State& state) {
    CWindow window = MakeWindow();
    TimeFrames(state, [&](std::size_t i) {
        window.Clear();
        window.DrawImage(0, 0, Frames()[i]);
        window.Refresh(true);
    });
}

#ifdef QUARN_BENCH_HIGHGUI
void PeerShowsFrames(benchmark::State& state) {
    std::array<cv::Mat, 2> frames;
    for (std::size_t i = 0; i < 2; ++i) {
        Image& image = *Frames()[i];
        frames[i] = cv::Mat(int{height}, int{width}, CV_8UC3, image.Bytes(), image.Stride());
    }
    cv::namedWindow("bench", cv::WINDOW_AUTOSIZE);
    TimeFrames(state, [&](std::size_t i) {
        cv::imshow("bench", frames[i]);
        cv::waitKey(1);
    });
    cv::destroyAllWindows();
    cv::waitKey(1);
}
#endif

/// The least that a program does: converts into the window's surface and shows it.
void BareShow(benchmark::State& state) {
    SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    SDL_InitSubSystem(SDL_INIT_VIDEO);
    SDL_Window* const window = SDL_CreateWindow(
        "bench", 0, 0, int{width}, int{height}, SDL_WINDOW_SHOWN | SDL_WINDOW_BORDERLESS);
    TimeFrames(state, [&](std::size_t i) {
        Image const& image = *Frames()[i];
        SDL_PumpEvents();
        SDL_Surface* const surface = SDL_GetWindowSurface(window);
        for (unsigned y = 0; y < height; ++y) {
            RGB const* const from = image[y];
            auto* const to = reinterpret_cast<Uint32*>(
                static_cast<unsigned char*>(surface->pixels) +
                std::size_t{y} * static_cast<unsigned>(surface->pitch));
            for (unsigned x = 0; x < width; ++x) {
                to[x] = Uint32{from[x].r} << 16 | Uint32{from[x].g} << 8 | from[x].b;
            }
        }
        SDL_UpdateWindowSurface(window);
    });
    SDL_DestroyWindow(window);
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

/// A window on a large image, and its backend.
struct Panning {
    Panning()
        : window(MakeWindow()), camera(boost::make_shared<CCamera2D>(0, 0, width, height, 0)) {
        static auto const large = MakeImage(4000, 3000, 7);
        window.SetCamera(camera);
        window.DrawImage(0, 0, large);
        for (int i = 0; i < warmUps; ++i) {
            window.Refresh(true);
        }
        auto const find = boost::make_shared<ui::win::CWndCommand_Call>(
            [this](CWindowCoreManager* m) { manager = m->shared_from_this(); });
        window.SendCommand(find, 0);
        find->Suspend();
    }

    CWindow window;
    boost::shared_ptr<CCamera2D> camera;
    boost::shared_ptr<CWindowCoreManager> manager;
};

void PanByMouse(benchmark::State& state) {
    Panning panning;
    Event event;
    event.type = ui::win::EventPress;
    event.button = event.state = ui::win::ButtonLeft;
    event.screenX = event.screenY = 1000;
    panning.window.InjectEvent(event);
    event.type = ui::win::EventMotion;
    int step = 0;
    for (auto _ : state) {
        event.screenX = 1000 - ++step % 500;
        panning.window.InjectEvent(event);
        panning.manager->Drain();
    }
}

void BareRedraw(benchmark::State& state) {
    Panning panning;
    int step = 0;
    for (auto _ : state) {
        panning.camera->SetTranslation({-1.0 * (++step % 500), 0});
        panning.manager->Refresh(true);
    }
}

double ProcessSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Share of one processor that a window takes which nothing happens to.
double IdleShare() {
    constexpr int seconds = 10;
    CWindow window = MakeWindow();
    window.DrawImage(0, 0, Frames()[0]);
    window.Refresh(true);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    double const before = ProcessSeconds();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    return (ProcessSeconds() - before) / seconds;
}

} // namespace

void RegisterSdlFigures() {
    if (!tests::XServer::IsThere()) {
        std::cerr << "No figures of the driver SDL: Xvfb, xdotool and openbox are not installed\n";
        return;
    }
    static tests::XServer const server(false, width, height);
    setenv("DISPLAY", server.Display().c_str(), 1);
    setenv("SDL_VIDEODRIVER", "x11", 1);
#ifdef QUARN_BENCH_HIGHGUI
    Compare(
        "a fresh 1080p image, shown",
        "OpenCV imshow and waitKey(1)",
        0.5,
        ShowFrames,
        PeerShowsFrames);
#endif
    Compare("a fresh 1080p image, on the screen", "a bare SDL program", 1.2, ShowFrames, BareShow);
    Compare(
        "mouse motion to redraw of a 12-megapixel image",
        "its bare redraw",
        1.5,
        PanByMouse,
        BareRedraw);
    Report("processor share of an idle window, 10 s", "one processor", 0.001, IdleShare);
}

} // namespace bench
