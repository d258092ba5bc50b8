#include "ui/panel/Backend.h"

template class kiv::Singleton<ui::BackendFactory>;
