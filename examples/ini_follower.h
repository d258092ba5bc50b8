#pragma once

#include "kiv/ini/INIFile.h"
#include "ui/panel/Conf.h"

#include <filesystem>
#include <string>

/// Keeps an INI file on disk and the panel values that are bound to it in step. The file wins where
/// both have changed. One thread at a time.
class IniFollower {
public:
    /// Loads the file; makes an empty one where there is none.
    explicit IniFollower(std::string const& path) {
        if (!std::filesystem::exists(path)) {
            m_ini.SaveAs(path);
        }
        m_seen = std::filesystem::last_write_time(path);
        m_ini.Load(path);
    }

    /// What values are bound to.
    kiv::ini::INIFile& Ini() { return m_ini; }

    /// Loads the file when somebody else has written it, else writes it when a value was changed.
    /// @throws std::runtime_error for a file that cannot be read or written and for text that is no
    ///     value; the file is then left to whoever is at it until it can be loaded again
    void Step() {
        std::string const& path = m_ini.FileName();
        auto const written = std::filesystem::last_write_time(path);
        if (written != m_seen) {
            m_seen = written; // taken first: what is written while loading is loaded next time
            m_inStep = false;
            m_ini.Load(path);
            ui::conf::Load(&m_ini);
            m_inStep = true;
        }
        if (!m_inStep) {
            return;
        }
        ui::conf::Save(&m_ini);
        if (m_ini.Modified() && std::filesystem::last_write_time(path) == m_seen) {
            m_ini.Save();
            m_seen = std::filesystem::last_write_time(path);
        }
    }

private:
    kiv::ini::INIFile m_ini;
    std::filesystem::file_time_type m_seen;
    bool m_inStep = true;
};
