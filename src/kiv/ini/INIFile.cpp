#include "kiv/ini/INIFile.h"

#include "kiv/Diagnostics.h"
#include "kiv/FileIO.h"
#include "kiv/ini/detail/Document.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/current_function.hpp>
#include <boost/make_shared.hpp>

#include <stdexcept>

namespace kiv::ini {

INIFile::INIFile()
    : m_owned(boost::make_shared<detail::Document>()), m_document(m_owned.get()),
      m_section(&m_document->Own()) {}

INIFile::INIFile(std::string const& path) : INIFile() {
    Load(path);
}

INIFile::INIFile(detail::Document* document, detail::Section* section)
    : m_document(document), m_section(section) {}

INIFile::~INIFile() = default;

void INIFile::Load(std::string const& path) {
    m_document->Read(ReadFile(path));
    m_document->fileName = path;
    m_document->modified = false;
}

void INIFile::Save() {
    SaveAs(m_document->fileName);
}

void INIFile::SaveAs(std::string const& path) {
    ReplaceFile(path, m_document->Write());
    m_document->fileName = path;
    m_document->modified = false;
}

bool INIFile::Modified() const {
    return m_document->modified;
}

std::string const& INIFile::FileName() const {
    return m_document->fileName;
}

INIFile* INIFile::Node(std::string const& name) {
    detail::Section* const section = m_document->FindOrCreate(name);
    if (section && !section->view) {
        section->view.reset(new INIFile(m_document, section));
        m_document->views.insert(section->view.get());
    }
    return section ? section->view.get() : nullptr;
}

std::string const& INIFile::Name() const {
    return m_section->name;
}

std::vector<std::string> INIFile::Nodes() const {
    return m_document->Names();
}

bool INIFile::Contains(INIFile const* file) const {
    return file == this || (m_owned && m_document->views.count(file) != 0);
}

bool INIFile::Has(std::string const& key) const {
    return m_section->keys.count(key) != 0;
}

std::optional<std::string> INIFile::Find(std::string const& key) const {
    return detail::Document::Find(*m_section, key);
}

std::string INIFile::Get(std::string const& key, char const* defaultValue) const {
    return Get(key, std::string(defaultValue));
}

void INIFile::ReportMissing(std::string const& key) const {
    std::string const section = Name().empty() ? "" : ", section " + Name();
    Diagnose("[WW]", BOOST_CURRENT_FUNCTION, "`" + key + "' not found in " + FileName() + section);
}

void INIFile::Set(std::string const& key, std::string const& text) {
    m_document->Set(*m_section, key, text);
}

void INIFile::RequireKey(std::string const& key) const {
    detail::Document::RequireKey(*m_section, key);
}

bool INIFile::Erase(std::string const& key) {
    return m_document->Erase(*m_section, key);
}

std::vector<std::string> INIFile::Keys() const {
    return detail::Document::Keys(*m_section);
}

bool INIFile::Parse(std::string const& text, std::string& value) {
    value = text;
    return true;
}

bool INIFile::Parse(std::string const& text, bool& value) {
    std::locale const& plain = std::locale::classic();
    if (!boost::iequals(text, "TRUE", plain) && !boost::iequals(text, "FALSE", plain)) {
        return false;
    }
    value = boost::iequals(text, "TRUE", plain);
    return true;
}

} // namespace kiv::ini
