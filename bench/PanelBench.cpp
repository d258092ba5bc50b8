#include "bench/Compare.h"
#include "kiv/ini/INIFile.h"
#include "ui/panel/PanelManager.h"
#include "ui/panel/Value.h"

#include <boost/any.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace bench {

namespace {

// What the manager is measured against: the same look-up in a map behind a mutex, and no more.
class PlainRegistry {
public:
    struct Entry {
        std::map<std::string, std::string> attributes;
        double value = 0;
        std::string text = "0.25";
        boost::any any = 0.25;
        unsigned references = 1;
    };

    template <class Use>
    void With(ui::widget_guid_t guid, Use use) {
        boost::lock_guard<boost::mutex> const lock(m_mutex);
        use(m_entries.find(guid)->second);
    }
    void Add(ui::widget_guid_t guid) { m_entries[guid]; }

private:
    boost::mutex m_mutex;
    std::map<ui::widget_guid_t, Entry> m_entries;
};

class CountingListener : public ui::detail::PanelListener {
public:
    void OnAttribute(ui::widget_guid_t /*guid*/, ui::detail::WidgetCore const& /*core*/) override {
        ++count;
    }
    void OnDetach(ui::widget_guid_t /*guid*/) override {}
    void OnUpdate(ui::widget_guid_t /*guid*/, ui::detail::WidgetCore const& /*core*/) override {}
    void
    OnDataChanged(ui::widget_guid_t /*guid*/, ui::detail::WidgetCore const& /*core*/) override {
        ++count;
    }
    bool OnShow(ui::widget_guid_t /*guid*/, ui::detail::WidgetCore const& /*core*/) override {
        return true;
    }
    void OnHide(ui::widget_guid_t /*guid*/) override {}

    long count = 0;
};

constexpr std::size_t kUsed = 1000; // widgets that are worked on, whatever number there is

// So many variables, all shown to a listener, and the plain registry with as many entries. Those
// that are used are neighbours in the middle, as those of one panel are: what is measured is the
// registry, not how much memory the application's panels fill.
struct Panel {
    explicit Panel(int widgets) {
        m_slot = ui::PanelManagerInstance()->Register(&listener);
        for (int i = 0; i < widgets; ++i) {
            values.emplace_back(1.0);
            ui::PanelManagerInstance()->Show(values.back().GUID(), true);
            plain.Add(values.back().GUID());
            if (i >= (widgets - static_cast<int>(kUsed)) / 2 && used.size() < kUsed) {
                used.push_back(&values.back());
            }
        }
        std::shuffle(used.begin(), used.end(), std::mt19937(1));
    }
    ~Panel() { ui::PanelManagerInstance()->UnRegister(m_slot); }
    Panel(Panel const&) = delete;
    Panel& operator=(Panel const&) = delete;

    CountingListener listener;
    std::deque<ui::var::Value<double>> values;
    std::vector<ui::var::Value<double>*> used;
    PlainRegistry plain;
    std::string const key = "label";
    std::string const text = "Gain";
    std::string const number = "0.25";
    std::string read;
    boost::any any = 0.25;

private:
    int m_slot = 0;
};

using Variable = ui::var::Value<double>;
using Operation = void (*)(Panel&, Variable&);

struct Measured {
    char const* name;
    Operation ours;
    Operation plain;
};

Measured const g_operations[] = {
    {"panel attribute and listener",
     [](Panel& p, Variable& v) { ui::PanelManagerInstance()->Attr(v.GUID(), p.key, p.text); },
     [](Panel& p, Variable& v) {
         p.plain.With(v.GUID(), [&](auto& entry) { entry.attributes[p.key] = p.text; });
     }},
    {"panel value read",
     [](Panel& /*p*/, Variable& v) { benchmark::DoNotOptimize(v.Get()); },
     [](Panel& p, Variable& v) {
         p.plain.With(v.GUID(), [](auto& entry) { benchmark::DoNotOptimize(entry.value); });
     }},
    {"panel value write",
     [](Panel& /*p*/, Variable& v) { v.Set(2.0); },
     [](Panel& p, Variable& v) { p.plain.With(v.GUID(), [](auto& entry) { entry.value = 2.0; }); }},
    {"panel value read as text",
     [](Panel& p, Variable& v) {
         ui::PanelManagerInstance()->Get(v.GUID(), p.read);
         benchmark::DoNotOptimize(p.read);
     },
     [](Panel& p, Variable& v) {
         p.plain.With(v.GUID(), [&](auto& entry) { p.read = entry.text; });
         benchmark::DoNotOptimize(p.read);
     }},
    {"panel value write as text",
     [](Panel& p, Variable& v) { ui::PanelManagerInstance()->Set(v.GUID(), p.number); },
     [](Panel& p, Variable& v) {
         p.plain.With(v.GUID(), [&](auto& entry) { entry.text = p.number; });
     }},
    {"panel value read as any",
     [](Panel& p, Variable& v) { ui::PanelManagerInstance()->Get(v.GUID(), p.any); },
     [](Panel& p, Variable& v) {
         p.plain.With(v.GUID(), [&](auto& entry) { p.any = entry.any; });
     }},
    {"panel value write as any",
     [](Panel& p, Variable& v) { ui::PanelManagerInstance()->Set(v.GUID(), p.any); },
     [](Panel& p, Variable& v) {
         p.plain.With(v.GUID(), [&](auto& entry) { entry.any = p.any; });
     }},
    {"panel handle copy and destruction",
     [](Panel& /*p*/, Variable& v) { ui::var::Base const copy(v); },
     [](Panel& p, Variable& v) {
         p.plain.With(v.GUID(), [](auto& entry) { ++entry.references; });
         p.plain.With(v.GUID(), [](auto& entry) { --entry.references; });
     }},
};

std::function<void(benchmark::State&)> OnPanelOf(int widgets, Operation operation) {
    return [=](benchmark::State& state) {
        Panel panel(widgets);
        for (auto _ : state) {
            for (Variable* const variable : panel.used) {
                operation(panel, *variable);
            }
        }
    };
}

// So many files of so many keys, removed at the end.
class Files {
public:
    Files(int count, int keys) : m_folder(std::filesystem::temp_directory_path() / "panel_bench") {
        std::filesystem::create_directories(m_folder);
        kiv::ini::INIFile ini;
        for (int i = 0; i < keys; ++i) {
            kiv::ini::INIFile& section = *ini.Node("SECTION " + std::to_string(i / 100));
            section.Set("KEY " + std::to_string(i), std::to_string(i * 17));
        }
        for (int i = 0; i < count; ++i) {
            paths.push_back(m_folder / std::to_string(i));
            ini.SaveAs(paths.back());
        }
    }
    ~Files() { std::filesystem::remove_all(m_folder); }
    Files(Files const&) = delete;
    Files& operator=(Files const&) = delete;

    std::vector<std::string> paths;

private:
    std::filesystem::path m_folder;
};

// All documents are kept until the end of a round, so that the memory that is touched for a number
// of keys does not depend on the number of files.
std::function<void(benchmark::State&)> Loading(int count, int keys) {
    return [=](benchmark::State& state) {
        Files const files(count, keys);
        for (auto _ : state) {
            std::deque<kiv::ini::INIFile> documents;
            for (auto const& path : files.paths) {
                documents.emplace_back(path);
            }
            state.PauseTiming();
            documents.clear();
            state.ResumeTiming();
        }
    };
}

std::function<void(benchmark::State&)> Saving(int count, int keys) {
    return [=](benchmark::State& state) {
        Files const files(count, keys);
        kiv::ini::INIFile ini(files.paths.front());
        for (auto _ : state) {
            for (auto const& path : files.paths) {
                ini.SaveAs(path);
            }
        }
    };
}

} // namespace

void RegisterPanelFigures() {
    for (Measured const& measured : g_operations) {
        Compare(
            measured.name,
            "a map behind a mutex",
            1.5,
            OnPanelOf(1000, measured.ours),
            OnPanelOf(1000, measured.plain));
    }
    for (Measured const& measured : g_operations) {
        Compare(
            std::string(measured.name) + ", 100000 widgets",
            "the same with 1000 widgets",
            2.0,
            OnPanelOf(100000, measured.ours),
            OnPanelOf(1000, measured.ours));
    }
    Compare(
        "INI file of 100000 keys, load",
        "ten of 10000 keys",
        1.2,
        Loading(1, 100000),
        Loading(10, 10000));
    Compare(
        "INI file of 100000 keys, save",
        "ten of 10000 keys",
        1.2,
        Saving(1, 100000),
        Saving(10, 10000));
}

} // namespace bench
