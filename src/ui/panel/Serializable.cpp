#include "ui/panel/Serializable.h"

#include <boost/archive/polymorphic_iarchive.hpp>
#include <boost/archive/polymorphic_oarchive.hpp>
#include <boost/serialization/nvp.hpp>
#include <boost/serialization/string.hpp>

#include <stdexcept>

namespace ui::detail {

void Serializable::Load(boost::archive::polymorphic_iarchive& archive, AccessMode mode) {
    std::string text;
    archive >> boost::serialization::make_nvp("value", text);
    Load(text, mode);
}

void Serializable::Save(boost::archive::polymorphic_oarchive& archive, AccessMode mode) const {
    std::string text;
    if (!Save(text, mode)) {
        throw std::runtime_error("A widget value without a text cannot be archived");
    }
    archive << boost::serialization::make_nvp("value", text);
}

} // namespace ui::detail
