#pragma once

#include <boost/thread/mutex.hpp>

#include <map>
#include <memory>
#include <string>
#include <vector>

struct _FcConfig;
struct _FcPattern;

namespace drivers::raster {

/// A font in a file; the index as FreeType takes it (face number, named instance above 16 bits).
struct FontFile {
    std::string path;
    int index = 0;

    friend bool operator==(FontFile const& a, FontFile const& b) {
        return a.path == b.path && a.index == b.index;
    }
};

/// The fonts that there are, found by family name through fontconfig. Any thread may call it: all
/// catalogues of the process share one lock, because fontconfig keeps state of its own.
class FontCatalogue {
public:
    /// The fonts installed on this machine; read once a process, on the first call. Lives until
    /// the last holder lets go of it or the process ends.
    static std::shared_ptr<FontCatalogue> System();

    /// The fonts of a folder and those below it, and no others. An unreadable folder has none.
    explicit FontCatalogue(std::string const& folder);
    ~FontCatalogue();
    FontCatalogue(FontCatalogue const&) = delete;
    FontCatalogue& operator=(FontCatalogue const&) = delete;

    /// Fonts for a name, the best first, those that add no characters left out; empty when there
    /// is no font at all. A name is a family ("Liberation Sans") or a family with properties
    /// ("Liberation Sans:bold"); one that is not installed gives the nearest substitutes.
    /// @param character only fonts that hold it; 0: all
    std::vector<FontFile> Candidates(std::string const& name, char32_t character = 0);

private:
    struct Sorted;

    explicit FontCatalogue(_FcConfig* config);
    Sorted const& Sort(std::string const& name); // call with the lock held

    _FcConfig* m_config; ///< null when fontconfig could not start: a catalogue without fonts
    std::map<std::string, std::unique_ptr<Sorted>> m_sorted; ///< guarded by the process's lock
};

} // namespace drivers::raster
