#pragma once

#include "ui/panel/PanelListener.h"
#include "ui/panel/WidgetCore.h"

#include <string>
#include <utility>

/// Writes down what a front end is told, as in "show 3; attr 3; ".
class RecordingListener : public ui::detail::PanelListener {
public:
    explicit RecordingListener(bool takes = true) : m_takes(takes) {}

    void OnAttribute(ui::widget_guid_t guid, ui::detail::WidgetCore const&) override {
        Note("attr", guid);
    }
    void OnDetach(ui::widget_guid_t guid) override { Note("detach", guid); }
    void OnUpdate(ui::widget_guid_t guid, ui::detail::WidgetCore const&) override {
        Note("update", guid);
    }
    void OnDataChanged(ui::widget_guid_t guid, ui::detail::WidgetCore const& core) override {
        std::string text;
        core.serializer->Save(text, ui::detail::AccessFrontEnd);
        Note("data " + text, guid);
    }
    bool OnShow(ui::widget_guid_t guid, ui::detail::WidgetCore const&) override {
        Note("show", guid);
        return m_takes;
    }
    void OnHide(ui::widget_guid_t guid) override { Note("hide", guid); }

    /// What was noted since the last call.
    std::string Heard() { return std::exchange(m_heard, {}); }

private:
    void Note(std::string const& what, ui::widget_guid_t guid) {
        m_heard += what + ' ' + std::to_string(guid) + "; ";
    }

    bool m_takes;
    std::string m_heard;
};
