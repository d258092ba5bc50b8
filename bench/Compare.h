#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

/// Registers one figure: how many times longer the subject takes than the limit or peer it is
/// measured against, both in the same run, the best of several interleaved repetitions of each.
///
/// @param goal the ratio that --check accepts
void Compare(
    std::string const& what,
    std::string const& against,
    double goal,
    std::function<void(benchmark::State&)> subject,
    std::function<void(benchmark::State&)> reference);

/// Registers a ratio that is computed, not timed.
void Report(
    std::string const& what,
    std::string const& against,
    double goal,
    std::function<double()> ratio);

/// One function a room; each registers its figures.
void RegisterImageFigures();
void RegisterWindowFigures();
void RegisterPanelFigures();
void RegisterCameraFigures();
void RegisterGadgetFigures();
void RegisterAnnotationFigures();
void RegisterRasterFigures();
void RegisterSdlFigures();

} // namespace bench
