#include "ui/win/image/CWindowImageConverter.h"

#include <boost/assert.hpp>

#include <stdexcept>

namespace ui::win {

CImageConvertPool* CImageConvertPool::Instance() {
    // Never destroyed: threads of drivers convert until the process ends.
    static auto* const pool = new CImageConvertPool;
    return pool;
}

void CImageConvertPool::DoAdd(
    unsigned const& source, unsigned const& destination, ConvertImage const& entry) {
    m_entries.emplace(std::make_pair(source, destination), entry);
}

bool CImageConvertPool::Find(
    std::pair<unsigned, unsigned> const& types, ConvertImage& entry) const {
    auto const found = m_entries.find(types);
    if (found == m_entries.end()) {
        return false;
    }
    entry = found->second;
    return true;
}

int CImageConvertPool::FindBestMatching(
    unsigned const& source, unsigned const* destinations, int count, ConvertImage& best) const {
    int chosen = -1;
    for (int i = 0; i < count; ++i) {
        ConvertImage candidate;
        if (Find({source, destinations[i]}, candidate) && candidate.cost < best.cost) {
            best = candidate;
            chosen = i;
        }
    }
    return chosen;
}

CImageConvertPool::SPImage
CImageConvertPool::Convert(SPImage const& image, unsigned const* destinations, int count) const {
    BOOST_ASSERT(image);
    ConvertImage best;
    if (FindBestMatching(image->Type(), destinations, count, best) < 0) {
        throw std::runtime_error("Cannot find a valid converter between CImage and Display");
    }
    return best.convert(image);
}

bool BindImageFunctions::operator()(CWindowCore* core, SPImage const& image) const {
    BOOST_ASSERT(image);
    auto const direct = m_functions.find(image->Type());
    if (direct != m_functions.end()) {
        direct->second(core, image);
        return true;
    }
    CImageConvertPool const& pool = *CImageConvertPool::Instance();
    ConvertImage best;
    Function const* chosen = nullptr;
    for (auto const& [type, bind] : m_functions) {
        if (pool.FindBestMatching(image->Type(), &type, 1, best) == 0) {
            chosen = &bind;
        }
    }
    if (chosen == nullptr) {
        throw std::runtime_error("A CImage cannot be rendered on this GC");
    }
    (*chosen)(core, best.convert(image));
    return true;
}

} // namespace ui::win
