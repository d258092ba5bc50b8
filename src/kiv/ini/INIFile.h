#pragma once

#include "kiv/ParseNumber.h"

#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/shared_ptr.hpp>

#include <optional>
#include <string>
#include <typeinfo>
#include <vector>

namespace kiv::ini {

namespace detail {
class Document;
struct Section;
} // namespace detail

/// A text file of `key = value` lines under `[section]` headers, kept line by line: what is not
/// set is written back byte for byte (comments, order, case, line ends, byte-order mark, garbage).
///
/// An INIFile stands for one section of a document. The object that an application constructs
/// stands for the keys before the first header, the file's own keys, and owns the document; Node()
/// answers the INIFile of a named section, which lives as long as the file does. Load(), Save() and
/// FileName() mean the whole document from either. Not locked: one thread at a time.
///
/// How lines are read:
/// - Blanks (space, tab) around a key, a value, a section's name and a line do not count.
/// - A line that starts with ';' or '#' is a comment; there are none behind a value.
/// - The key ends at the first '='; it may be empty. Keys and names compare exactly.
/// - Of several lines with one key in a section, the last one counts; all are kept. Headers with
///   the same name open the same section again.
/// - A value between double quotes is what is inside, with \\ \" \n \r standing for a backslash, a
///   quote, a line feed and a carriage return. Quotes that do not fit that rule are plain text.
///
///     kiv::ini::INIFile ini("app.ini");
///     double const gain = ini.Node("CAMERA")->Get("GAIN", 1.0);
///     ini.Set("GUI DRIVER", "Offscreen");
///     ini.Save();
class INIFile {
public:
    /// An empty document without a file name.
    INIFile();
    /// Loads a file; one that is missing is an error, as in Load().
    explicit INIFile(std::string const& path);
    ~INIFile();
    INIFile(INIFile const&) = delete;
    INIFile& operator=(INIFile const&) = delete;

    /// Replaces the document by a file's content and takes over its name. INIFiles that Node()
    /// answered before stay valid and show the new content of their section.
    /// @throws std::runtime_error naming the file and the reason; the document is then unchanged
    void Load(std::string const& path);

    /// Writes the document to FileName() so that a crash at any moment leaves either the old file
    /// or the new one, whole: a new file beside it is flushed to disk and renamed over it. A
    /// symbolic link stays one; permissions are kept.
    /// @throws std::runtime_error naming the file and the reason; the old file is then unchanged
    void Save();
    /// As Save(), to another path, which becomes FileName().
    void SaveAs(std::string const& path);

    /// @return the path of the last Load() or SaveAs(), empty when there was none
    std::string const& FileName() const;

    /// Whether something was set or erased since the document was last read or written.
    bool Modified() const;

    /// Finds or creates a section. Sections do not nest: a section's Node() answers the same as its
    /// file's. A new section reaches the file when a key of it is set.
    /// @return null only for a name that no header can hold: an empty one, one with ']' or a line
    ///     end in it, one that starts or ends with a blank
    INIFile* Node(std::string const& name);

    /// @return the name of this section, empty for the file's own keys
    std::string const& Name() const;
    /// @return the names of the sections that are in the document, in file order
    std::vector<std::string> Nodes() const;
    /// Whether `file` is this or, where this stands for a whole file, one of its sections. Never
    /// looks into `file`, which may be gone.
    bool Contains(INIFile const* file) const;

    bool Has(std::string const& key) const;
    /// @return the key's text, nothing when there is none
    std::optional<std::string> Find(std::string const& key) const;

    /// Looks a key up as text, bool (TRUE or FALSE in any letter case) or a number.
    /// @return whether the key was found; where not, value keeps what it held
    /// @throws boost::bad_lexical_cast when the whole text is not a T
    template <class T>
    bool Lookup(std::string const& key, T& value) const;

    /// As Lookup(); a missing key is reported with ReportMissing() and answers the default.
    template <class T>
    T Get(std::string const& key, T const& defaultValue) const;
    std::string Get(std::string const& key, char const* defaultValue) const;

    /// Prints one line that says which key is missing in which file.
    void ReportMissing(std::string const& key) const;

    /// Sets a key's text. An existing line keeps its place and its spacing, a new one goes behind
    /// the section's last key. Text that would not be read back as it is gets quoted.
    /// @throws std::runtime_error as RequireKey()
    void Set(std::string const& key, std::string const& text);
    /// @throws std::runtime_error for a key that no line can hold: one with '=' or a line end in
    ///     it, one that starts or ends with a blank, one that starts like a comment or a header
    void RequireKey(std::string const& key) const;
    /// Removes every line of the key. @return whether there was one
    bool Erase(std::string const& key);

    /// @return the keys of this section, each once, in file order
    std::vector<std::string> Keys() const;

private:
    friend class detail::Document;
    INIFile(detail::Document* document, detail::Section* section);

    static bool Parse(std::string const& text, std::string& value);
    static bool Parse(std::string const& text, bool& value);
    template <class T>
    static bool Parse(std::string const& text, T& value);

    boost::shared_ptr<detail::Document> m_owned; // null in the INIFiles of sections
    detail::Document* m_document;
    detail::Section* m_section;
};

template <class T>
bool INIFile::Parse(std::string const& text, T& value) {
    return ParseNumber(text, value);
}

template <class T>
bool INIFile::Lookup(std::string const& key, T& value) const {
    std::optional<std::string> const text = Find(key);
    if (!text) {
        return false;
    }
    if (!Parse(*text, value)) {
        throw boost::bad_lexical_cast(typeid(std::string), typeid(T));
    }
    return true;
}

template <class T>
T INIFile::Get(std::string const& key, T const& defaultValue) const {
    T value = defaultValue;
    if (!Lookup(key, value)) {
        ReportMissing(key);
    }
    return value;
}

} // namespace kiv::ini
