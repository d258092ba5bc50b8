#pragma once

#include <boost/any.hpp>

#include <string>

namespace boost::archive {
class polymorphic_iarchive;
class polymorphic_oarchive;
} // namespace boost::archive

namespace ui::detail {

/// On whose behalf a value is read or written. The manager only passes it on; a serializer may, for
/// example, round for a front end what it keeps exact in a file.
enum AccessMode {
    AccessClient = 0,   ///< the application's own code
    AccessFrontEnd = 1, ///< a listener that shows the value or lets a user change it
    AccessArchive = 2,  ///< a snapshot of the application's state
    AccessConfig = 3    ///< a configuration file: binding, reloading and saving
};

/// Holds a panel widget's value and turns it into text, boost::any and archives and back.
///
/// Owned by the widget's record. The panel manager calls it with its registry locked, from any
/// thread, so an implementation needs no lock of its own and must not call the manager.
class Serializable {
public:
    Serializable() = default;
    Serializable(Serializable const&) = default;
    Serializable& operator=(Serializable const&) = delete;
    virtual ~Serializable() = default;

    /// A new object of the same kind with the same value, owned by the caller.
    virtual Serializable* Clone() const = 0;

    /// Takes over the value that the text stands for.
    /// @throws std::runtime_error where it stands for none; the old value is then kept
    virtual void Load(std::string const& text, AccessMode mode) = 0;
    /// @return false where the value cannot be shown as text; the text is then left alone
    virtual bool Save(std::string& text, AccessMode mode) const = 0;

    /// @throws boost::bad_any_cast for another type than the value's, std::runtime_error for a
    ///     value that is not allowed; the old value is then kept
    virtual void Set(boost::any const& value, AccessMode mode) = 0;
    virtual boost::any Get(AccessMode mode) const = 0;

    /// Archive input and output, as text unless overridden.
    /// @throws std::runtime_error as Load() and where the value cannot be shown as text
    virtual void Load(boost::archive::polymorphic_iarchive& archive, AccessMode mode);
    virtual void Save(boost::archive::polymorphic_oarchive& archive, AccessMode mode) const;
};

} // namespace ui::detail
