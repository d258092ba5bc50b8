#include "drivers/raster/FontCatalogue.h"

#include <boost/filesystem/directory.hpp>
#include <boost/thread/lock_guard.hpp>

#include <fontconfig/fontconfig.h>

#include <utility>

namespace drivers::raster {

namespace {

namespace fs = boost::filesystem;
using Lock = boost::lock_guard<boost::mutex>;

boost::mutex& ProcessLock() {
    // Never destroyed: a window that is a static itself may be the last thing to go.
    static boost::mutex& lock = *new boost::mutex;
    return lock;
}

/// Sorted lists are kept by name; an application that makes up names must not fill the memory.
constexpr std::size_t kMaxNames = 64;

unsigned char const* Bytes(std::string const& text) {
    return reinterpret_cast<unsigned char const*>(text.c_str());
}

struct PatternDelete {
    void operator()(FcPattern* p) const { FcPatternDestroy(p); }
};
using Pattern = std::unique_ptr<FcPattern, PatternDelete>;

/// What to look for. Only outline fonts in SFNT files can be shaped and scaled.
Pattern Query(FcConfig* config, std::string const& name) {
    Pattern query;
    if (name.find(':') != std::string::npos) {
        query.reset(FcNameParse(Bytes(name)));
    }
    if (!query) {
        query.reset(FcPatternCreate());
        if (query && !name.empty()) {
            FcPatternAddString(query.get(), FC_FAMILY, Bytes(name));
        }
    }
    if (query) {
        FcPatternAddBool(query.get(), FC_SCALABLE, FcTrue);
        FcConfigSubstitute(config, query.get(), FcMatchPattern);
        FcDefaultSubstitute(query.get());
    }
    return query;
}

FontFile FileOf(FcPattern* font) {
    FcChar8* path = nullptr;
    int index = 0;
    FcBool scalable = FcFalse;
    FcPatternGetBool(font, FC_SCALABLE, 0, &scalable);
    if (!scalable || FcPatternGetString(font, FC_FILE, 0, &path) != FcResultMatch) {
        return {};
    }
    FcPatternGetInteger(font, FC_INDEX, 0, &index);
    return {reinterpret_cast<char const*>(path), index};
}

} // namespace

struct FontCatalogue::Sorted {
    struct Entry {
        FontFile file;
        FcCharSet* characters;
    };

    Sorted() = default;
    ~Sorted() {
        for (Entry const& entry : entries) {
            FcCharSetDestroy(entry.characters);
        }
    }
    Sorted(Sorted const&) = delete;
    Sorted& operator=(Sorted const&) = delete;

    void Add(FcPattern* font) {
        FontFile file = FileOf(font);
        FcCharSet* characters = nullptr;
        if (file.path.empty() ||
            FcPatternGetCharSet(font, FC_CHARSET, 0, &characters) != FcResultMatch) {
            return;
        }
        entries.push_back({std::move(file), FcCharSetCopy(characters)});
    }

    std::vector<Entry> entries;
};

std::shared_ptr<FontCatalogue> FontCatalogue::System() {
    // Held by the static as well as by every renderer: windows that come and go do not read the
    // installed fonts again, and a driver that is unloaded gives them back.
    static std::shared_ptr<FontCatalogue> const system = [] {
        Lock const lock(ProcessLock());
        return std::shared_ptr<FontCatalogue>(new FontCatalogue(FcInitLoadConfigAndFonts()));
    }();
    return system;
}

FontCatalogue::FontCatalogue(_FcConfig* config) : m_config(config) {}

FontCatalogue::FontCatalogue(std::string const& folder) : m_config(nullptr) {
    Lock const lock(ProcessLock());
    m_config = FcConfigCreate();
    // File by file: adding the folder as a whole wants a folder for a cache beside it.
    boost::system::error_code error;
    fs::recursive_directory_iterator file(
        folder,
        fs::directory_options::skip_permission_denied | fs::directory_options::pop_on_error,
        error);
    while (m_config != nullptr && file != fs::recursive_directory_iterator()) {
        FcConfigAppFontAddFile(m_config, Bytes(file->path().string()));
        file.increment(error);
    }
}

FontCatalogue::~FontCatalogue() {
    Lock const lock(ProcessLock());
    m_sorted.clear();
    if (m_config != nullptr) {
        FcConfigDestroy(m_config);
    }
}

FontCatalogue::Sorted const& FontCatalogue::Sort(std::string const& name) {
    auto const known = m_sorted.find(name);
    if (known != m_sorted.end()) {
        return *known->second;
    }
    auto sorted = std::make_unique<Sorted>();
    if (Pattern const query = m_config != nullptr ? Query(m_config, name) : nullptr) {
        FcResult result = FcResultNoMatch;
        // Matching looks at more than sorting does, so the best match may not be the first.
        if (Pattern const best{FcFontMatch(m_config, query.get(), &result)}) {
            sorted->Add(best.get());
        }
        FcFontSet* const all = FcFontSort(m_config, query.get(), FcTrue, nullptr, &result);
        for (int i = 0; all != nullptr && i < all->nfont; ++i) {
            sorted->Add(all->fonts[i]);
        }
        if (all != nullptr) {
            FcFontSetDestroy(all);
        }
    }
    if (m_sorted.size() >= kMaxNames) {
        m_sorted.clear();
    }
    return *(m_sorted[name] = std::move(sorted));
}

std::vector<FontFile> FontCatalogue::Candidates(std::string const& name, char32_t character) {
    Lock const lock(ProcessLock());
    std::vector<FontFile> files;
    for (Sorted::Entry const& entry : Sort(name).entries) {
        if (character == 0 || FcCharSetHasChar(entry.characters, character)) {
            files.push_back(entry.file);
        }
    }
    return files;
}

} // namespace drivers::raster
