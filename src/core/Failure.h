#pragma once

// Why the last host-facing call of an object failed. The calls keep their
// plain results (false or null); this record is what a host reads afterwards
// to tell a missing file from a static font or a bad axis value, and what the
// command-line tool prints.

#include "base/String.h"

namespace Typeframe {

class Failure {
public:
    enum class Kind {
        None,
        // The file or stream can't be opened, read, created or written.
        CannotOpen,
        CannotWrite,
        // The bytes are not a font file or collection the library reads.
        NotAFont,
        // A font index or PostScript name that the file doesn't have.
        NoSuchFont,
        // A static font given to the instancer.
        NotVariable,
        // A call that needs a loaded font, with none loaded.
        NoFont,
        // Axis values that can't make an instance.
        BadLocation,
        // The font lacks what the call needs (a family name, a table).
        MissingData,
        // A file that can't be written as asked (not exactly one font, a
        // table that never settles).
        CannotSave,
    };

    Failure() = default;
    Failure(Kind kind, Utf8String message) : m_kind(kind), m_message(std::move(message)) {}

    Kind GetKind() const { return m_kind; }
    // One line, without a trailing line feed; empty when nothing failed.
    const Utf8String& GetMessage() const { return m_message; }
    explicit operator bool() const { return m_kind != Kind::None; }

private:
    Kind m_kind = Kind::None;
    Utf8String m_message;
};

}  // namespace Typeframe
