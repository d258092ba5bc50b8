#pragma once

#include <cstddef>
#include <functional>
#include <unordered_map>
#include <utility>

namespace drivers::raster {

/// A map with a bound on what its values cost that forgets what was not used for longest, roughly:
/// values live in a young and an old generation; when the young one has half the bound it becomes
/// the old one, and what was old and not asked for since is dropped. A value found young costs one
/// look-up and allocates nothing. References stay good as long as Epoch() stays the same.
template <class Key, class Value, class Hash = std::hash<Key>>
class TextCache {
public:
    explicit TextCache(std::size_t bound) : m_half(bound / 2) {}

    Value* Find(Key const& key) {
        auto const young = m_young.find(key);
        if (young != m_young.end()) {
            return &young->second.value;
        }
        auto const old = m_old.find(key);
        if (old == m_old.end()) {
            return nullptr;
        }
        auto node = m_old.extract(old);
        m_oldCost -= node.mapped().cost;
        MakeRoom(node.mapped().cost);
        return &m_young.insert(std::move(node)).position->second.value;
    }

    /// True when a value of this cost can be kept at all.
    bool Fits(std::size_t cost) const { return cost <= m_half; }

    /// Keeps a value whose key is not yet there. The cost must fit.
    Value& Insert(Key const& key, Value value, std::size_t cost) {
        MakeRoom(cost);
        return m_young.emplace(key, Entry{std::move(value), cost}).first->second.value;
    }

    /// Changes whenever values are dropped: pointers to values found since it last changed are
    /// good.
    unsigned Epoch() const { return m_epoch; }
    std::size_t Cost() const { return m_youngCost + m_oldCost; }

private:
    struct Entry {
        Value value;
        std::size_t cost;
    };

    void MakeRoom(std::size_t cost) {
        if (m_youngCost + cost > m_half) {
            m_old = std::exchange(m_young, {});
            m_oldCost = std::exchange(m_youngCost, 0);
            ++m_epoch;
        }
        m_youngCost += cost;
    }

    std::unordered_map<Key, Entry, Hash> m_young;
    std::unordered_map<Key, Entry, Hash> m_old;
    std::size_t m_half;
    std::size_t m_youngCost = 0;
    std::size_t m_oldCost = 0;
    unsigned m_epoch = 0;
};

} // namespace drivers::raster
