#pragma once

#include <map>
#include <utility>
#include <vector>

namespace kiv {

/// A registry of creators by key, in ascending order of the keys. Not locked: registration belongs
/// to static initialisation and to the loading of libraries.
///
/// Creator is a boost::function that answers a new Product, owned by whoever calls it.
template <class Key, class Product, class Creator>
class Factory {
public:
    using key_type = Key;
    using product_type = Product;
    using creator_type = Creator;

    /// The first registration of a key wins; later ones are ignored without a message.
    /// @return whether the creator was taken
    bool Register(Key const& key, Creator const& creator) {
        return m_creators.emplace(key, creator).second;
    }

    /// @return the creator registered under the key, an empty one when there is none
    Creator GetAllocator(Key const& key) const {
        auto const found = m_creators.find(key);
        return found == m_creators.end() ? Creator() : found->second;
    }

    /// @return every registered key, ascending
    std::vector<Key> Names() const {
        std::vector<Key> names;
        names.reserve(m_creators.size());
        for (auto const& entry : m_creators) {
            names.push_back(entry.first);
        }
        return names;
    }

private:
    std::map<Key, Creator> m_creators;
};

} // namespace kiv
