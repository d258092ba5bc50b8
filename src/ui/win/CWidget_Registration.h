#pragma once

#include "kiv/Factory.h"
#include "kiv/ObjectRegistrar.h"
#include "kiv/Singleton.h"
#include "kiv/ini/INIFile.h"
#include "ui/win/CWidget.h"

#include <boost/function.hpp>

#include <string>

namespace ui::win {

/// The process's gadgets by name, created from their own section of the INI file:
///
///     static CWidget_Registration<MyGadget> const registrar("MyGadget");
using WidgetCreator = boost::function<CWidget*(kiv::ini::INIFile&)>;
using WidgetFactory = kiv::Factory<std::string, CWidget, WidgetCreator>;

template <class Widget>
using CWidget_Registration = kiv::ObjectRegistrar<WidgetFactory, Widget>;

} // namespace ui::win

extern template class kiv::Singleton<ui::win::WidgetFactory>;
