#pragma once

#include <string>

namespace kiv {

/// Cuts the reporting location out of a compiler's full function signature: the text between the
/// second-to-last and the last "::" before the opening parenthesis, which is the class of a member
/// function and the innermost namespace of a free one. A function of the global namespace answers
/// its own name.
///
///     Location("bool ui::win::CWindow::Refresh(bool)") == "CWindow"
std::string Location(char const* signature);

/// Writes "tag location: message" to std::cout as one line that no other thread's line can tear.
///
///     kiv::Diagnose("[WW]", BOOST_CURRENT_FUNCTION, "no such key");
void Diagnose(char const* tag, char const* signature, std::string const& message);

/// Writes one line (the line end is added) to std::cout under the same lock as Diagnose().
void PrintLine(std::string const& line);

} // namespace kiv
