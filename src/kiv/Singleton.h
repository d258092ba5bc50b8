#pragma once

#include <boost/checked_delete.hpp>
#include <boost/shared_ptr.hpp>

namespace kiv {

/// The one T of the process, made on the first call of Instance() and destroyed at exit by a
/// DestructorType (a functor that takes the T*).
///
/// Neither the creation nor the instance is locked: have the first call happen during static
/// initialisation. To share the instance with modules loaded at run time, a library declares
/// `extern template class kiv::Singleton<X>;` in a header and instantiates it in one source file.
template <class T, class DestructorType = boost::checked_deleter<T>>
class Singleton {
public:
    Singleton() = delete;

    /// @return the instance, never null; once the exit handlers have destroyed it, late callers get
    ///     a fresh one that is left to the process
    static T* Instance() {
        if (!m_instance) {
            m_instance = new T;
            if (!m_destroyed) {
                m_owner.reset(m_instance, &Destroy);
            }
        }
        return m_instance;
    }

private:
    static void Destroy(T* instance) {
        m_destroyed = true;
        DestructorType()(instance);
        m_instance = nullptr;
    }

    static T* m_instance;
    static bool m_destroyed;
    static boost::shared_ptr<T> m_owner;
};

// All three are constant-initialised, so that registration works in any order of static objects.
template <class T, class DestructorType>
T* Singleton<T, DestructorType>::m_instance = nullptr;

template <class T, class DestructorType>
bool Singleton<T, DestructorType>::m_destroyed = false;

template <class T, class DestructorType>
boost::shared_ptr<T> Singleton<T, DestructorType>::m_owner;

} // namespace kiv
