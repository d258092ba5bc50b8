#include "kiv/Diagnostics.h"
#include "ui/panel/PanelManager.h"

#include <boost/current_function.hpp>
#include <boost/thread/lock_guard.hpp>

#include <exception>
#include <stdexcept>

namespace ui::detail {

namespace {

using Lock = boost::lock_guard<boost::mutex>;

kiv::ini::INIFile& RequiredFile(kiv::ini::INIFile* ini, char const* operation) {
    if (!ini) {
        throw std::runtime_error(std::string(operation) + " without a configuration file");
    }
    return *ini;
}

Serializable& RequiredSerializer(WidgetCore const& core) {
    if (!core.serializer) {
        throw std::runtime_error(
            "internal error: WidgetCore::Load(" + core.key + ") called without serializer");
    }
    return *core.serializer;
}

} // namespace

void PanelManager::LoadBound(widget_guid_t guid, WidgetCore const& core) const {
    auto const text = core.ini->Find(core.key);
    if (!text) {
        throw std::runtime_error("`" + core.key + "' not found in " + core.ini->FileName());
    }
    Serializable& serializer = RequiredSerializer(core);
    std::string before;
    std::string after;
    bool const hadText = serializer.Save(before, AccessConfig);
    serializer.Load(*text, AccessConfig);
    if (!hadText || !serializer.Save(after, AccessConfig) || after != before) {
        Tell(core.listeners, [&](PanelListener& listener) { listener.OnDataChanged(guid, core); });
    }
}

// Points a record at its key. Null for an unknown GUID.
WidgetCore*
PanelManager::BindKey(widget_guid_t guid, std::string const& key, kiv::ini::INIFile* ini) const {
    WidgetCore* const core = Record(guid);
    if (core) {
        RequiredFile(ini, "Bind").RequireKey(key); // or every Save() would fail
        core->ini = ini;
        core->key = key;
    }
    return core;
}

bool PanelManager::Bind(widget_guid_t guid, std::string const& key, kiv::ini::INIFile* ini) {
    Lock const lock(m_mutex);
    WidgetCore const* const core = BindKey(guid, key, ini);
    if (core) {
        LoadBound(guid, *core);
    }
    return core;
}

// Takes what the file holds or, where that cannot be had, what useDefault(serializer) sets; that
// answers whether it could.
template <class UseDefault>
bool PanelManager::BindWithDefault(
    widget_guid_t guid, std::string const& key, kiv::ini::INIFile* ini, UseDefault useDefault) {
    Lock const lock(m_mutex);
    WidgetCore const* const core = BindKey(guid, key, ini);
    if (!core) {
        return false;
    }
    Serializable& serializer = RequiredSerializer(*core);
    bool loaded = false;
    if (auto const text = ini->Find(key)) {
        try {
            serializer.Load(*text, AccessConfig);
            loaded = true;
        } catch (std::exception const& error) {
            kiv::PrintLine(
                "Warning: '" + key + "' is not valid: " + error.what() + ". Trying default...");
        }
    } else {
        ini->ReportMissing(key);
    }
    if (loaded || useDefault(serializer)) {
        Tell(
            core->listeners, [&](PanelListener& listener) { listener.OnDataChanged(guid, *core); });
    }
    return true;
}

bool PanelManager::Bind(
    widget_guid_t guid,
    std::string const& key,
    kiv::ini::INIFile* ini,
    boost::any const& defaultValue) {
    return BindWithDefault(guid, key, ini, [&](Serializable& serializer) {
        try {
            serializer.Set(defaultValue, AccessConfig);
        } catch (boost::bad_any_cast const&) {
            return false;
        }
        std::string text;
        if (serializer.Save(text, AccessConfig)) {
            ini->Set(key, text);
        }
        return true;
    });
}

bool PanelManager::Bind(
    widget_guid_t guid,
    std::string const& key,
    kiv::ini::INIFile* ini,
    std::string const& defaultText) {
    return BindWithDefault(guid, key, ini, [&](Serializable& serializer) {
        try {
            serializer.Load(defaultText, AccessConfig);
        } catch (std::exception const&) {
            kiv::Diagnose(
                "[EE]",
                BOOST_CURRENT_FUNCTION,
                "Cannot Bind " + key + " with default " + defaultText);
            return false;
        }
        ini->Set(key, defaultText);
        return true;
    });
}

bool PanelManager::Bind(widget_guid_t guid, Serializable* serializer) {
    std::unique_ptr<Serializable> owned(serializer);
    Lock const lock(m_mutex);
    WidgetCore* const core = Record(guid);
    if (!core) {
        return false;
    }
    if (core->serializer == owned) { // bound again
        owned.release();
    } else {
        core->serializer.swap(owned);
    }
    return true;
}

bool PanelManager::Get(widget_guid_t guid, std::string& text, AccessMode mode) const {
    return Access(guid, [&](Serializable const& s) { return s.Save(text, mode); });
}

bool PanelManager::Get(widget_guid_t guid, boost::any& value, AccessMode mode) const {
    return Access(guid, [&](Serializable const& s) {
        value = s.Get(mode);
        return true;
    });
}

bool PanelManager::Get(
    widget_guid_t guid, boost::archive::polymorphic_oarchive& archive, AccessMode mode) const {
    return Access(guid, [&](Serializable const& s) {
        s.Save(archive, mode);
        return true;
    });
}

bool PanelManager::Set(widget_guid_t guid, std::string const& text, AccessMode mode) {
    return Access(guid, [&](Serializable& s) {
        s.Load(text, mode);
        return true;
    });
}

bool PanelManager::Set(widget_guid_t guid, boost::any const& value, AccessMode mode) {
    return Access(guid, [&](Serializable& s) {
        s.Set(value, mode);
        return true;
    });
}

bool PanelManager::Set(
    widget_guid_t guid, boost::archive::polymorphic_iarchive& archive, AccessMode mode) {
    return Access(guid, [&](Serializable& s) {
        s.Load(archive, mode);
        return true;
    });
}

// Goes through all values that are bound to the file, then throws what went wrong first: one that
// cannot be used does not keep the others from it.
template <class Use>
void PanelManager::ForBound(kiv::ini::INIFile const& file, bool wholeFile, Use use) const {
    Lock const lock(m_mutex);
    std::exception_ptr failure;
    for (auto const& widget : m_widgets) {
        WidgetCore const& core = *widget.second;
        if (core.ini != &file && !(wholeFile && file.Contains(core.ini))) {
            continue;
        }
        try {
            use(widget.first, core);
        } catch (std::exception const&) {
            failure = failure ? failure : std::current_exception();
        }
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

void PanelManager::Save(kiv::ini::INIFile* ini, bool wholeFile) const {
    auto const save = [](widget_guid_t /*guid*/, WidgetCore const& core) {
        if (!core.serializer) {
            throw std::runtime_error("Save failed: no serializer");
        }
        std::string text;
        if (!core.serializer->Save(text, AccessConfig)) {
            throw std::runtime_error("Save failed: the value of `" + core.key + "' has no text");
        }
        core.ini->Set(core.key, text);
    };
    ForBound(RequiredFile(ini, "Save"), wholeFile, save);
}

void PanelManager::Reload(kiv::ini::INIFile* ini) {
    auto const load = [this](widget_guid_t guid, WidgetCore const& core) { LoadBound(guid, core); };
    ForBound(RequiredFile(ini, "Reload"), true, load);
}

} // namespace ui::detail
