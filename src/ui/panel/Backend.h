#pragma once

#include "kiv/Factory.h"
#include "kiv/ObjectRegistrar.h"
#include "kiv/Singleton.h"
#include "ui/panel/PanelListener.h"

#include <boost/function.hpp>

#include <string>

namespace ui {

/// A panel front end that is made by name: a listener that registers itself with the panel manager
/// and shows what it is told until its user is done.
class Backend : public detail::PanelListener {
public:
    /// Shows the panels; returns when the user closes the front end.
    virtual void Run() = 0;
};

/// The process's panel front ends by name. A library that brings one registers it while it is being
/// loaded:
///
///     static ui::Backend_Registration<MyFrontEnd> const registrar("MyFrontEnd");
using BackendCreator = boost::function<Backend*()>;
using BackendFactory = kiv::Factory<std::string, Backend, BackendCreator>;

template <class FrontEnd>
using Backend_Registration = kiv::ObjectRegistrar<BackendFactory, FrontEnd>;

} // namespace ui

extern template class kiv::Singleton<ui::BackendFactory>;
