#include "ui/win/CWidget_Registration.h"

template class kiv::Singleton<ui::win::WidgetFactory>;
