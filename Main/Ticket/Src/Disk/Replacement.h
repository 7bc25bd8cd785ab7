// How a ticket's file is read, replaced and deleted.
//
// What replacing guarantees: whoever opens the file, at any moment, after a crash, beside other processes that save the
// same file, finds the content of one complete save, old or new. The bytes go to the file name with ".tmp" appended and
// are renamed over the file when they are on the disk. Whatever fails on the way, the old file stays as it was.
//
// A symbolic link as the file name is followed when reading and replaced itself when saving. Nothing here throws but
// std::bad_alloc, and a thread that is being cancelled finishes what it does here.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Common/Src/ByteStreams.h"

namespace TICKETFILE {

// A descriptor that is closed with its owner.
class DESCRIPTOR {
 public:
    DESCRIPTOR() = default;
    explicit DESCRIPTOR(int number) : m_number(number) {}
    DESCRIPTOR(DESCRIPTOR&& source) noexcept : m_number(std::exchange(source.m_number, -1)) {}
    DESCRIPTOR& operator=(DESCRIPTOR&& source) noexcept {
        std::swap(m_number, source.m_number);
        return *this;
    }
    ~DESCRIPTOR() { Close(); }

    explicit operator bool() const { return m_number >= 0; }
    int Number() const { return m_number; }
    bool Close();

 private:
    int m_number = -1;
};

// Which file it is, under whatever name.
struct FILE_ID {
    dev_t device;
    ino_t number;
};

// A file that is open for reading: what was its content then, even if it is replaced meanwhile.
class CONTENT final : public FILE_SOURCE {
 public:
    enum STATE {
        MISSING,     // there is no such file
        UNREADABLE,  // there is one, but its bytes cannot be had: no permission, not a regular file
        OPEN
    };
    // Does not wait for whoever should write to a pipe of that name. Where the system is short of descriptors or
    // memory, this and Read throw std::bad_alloc: the file may be read later.
    explicit CONTENT(std::string const& fileName);

    STATE State() const { return m_state; }
    std::optional<FILE_ID> const& Id() const { return m_id; }  // none while nothing is open
    std::size_t Size() const override { return m_size; }
    std::optional<std::size_t> Read(std::size_t begin, char* bytes, std::size_t size) override;

 private:
    DESCRIPTOR m_file;
    STATE m_state;
    std::optional<FILE_ID> m_id;
    std::size_t m_size = 0;
};

// What becomes of the old file. KEEP is for one whose content never reached the ticket: it is kept as the file name
// with ".unreadable" appended, where it replaces an earlier one; if it is known which file that was, only while the
// name still leads to it.
enum class OLD { DISCARD, KEEP };

// What came of that.
enum class KEPT { NOTHING, YES, NO };

struct TEMPORARY;

// A new content of a file on its way, taken in pieces. The file keeps its permission bits; a new one is the owner's
// alone (0600), since it may hold a password. Processes and threads that save the same file wait for each other, for
// two seconds at most.
class REPLACEMENT final : public FILE_SINK {
 public:
    explicit REPLACEMENT(std::string fileName);
    // Without a Commit nothing has happened to the file.
    ~REPLACEMENT();
    REPLACEMENT(REPLACEMENT const&) = delete;
    REPLACEMENT& operator=(REPLACEMENT const&) = delete;

    // Opens the temporary file at the first piece. What goes wrong with it is told by Commit.
    void Take(std::string_view piece) override;
    // Forgets all pieces.
    void Restart();
    // Replaces the file. Returns false if the old file is still there. An old file that cannot be kept is replaced all
    // the same.
    bool Commit(OLD old, KEPT* kept = nullptr, std::optional<FILE_ID> const& misread = {});

 private:
    void Open();

    std::string const m_fileName;
    std::unique_ptr<TEMPORARY> m_temporary;  // null until the first piece and after Commit
};

// Deletes the file; a directory of that name stays, and so does a file that is to be kept and cannot be. Returns false
// if it could not.
bool Delete(std::string const& fileName, OLD old, KEPT* kept = nullptr, std::optional<FILE_ID> const& misread = {});

}  // namespace TICKETFILE
