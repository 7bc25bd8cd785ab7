#include "MemoryFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Values.h"

MEMORY_FILE::MEMORY_FILE() : m_descriptor(memfd_create("ticket", MFD_CLOEXEC)) {
    if (m_descriptor < 0) throw FAILURE(std::string("no file in memory can be made: ") + std::strerror(errno));
    if (access(Path().c_str(), R_OK) == 0) return;
    close(m_descriptor);
    throw FAILURE("a file in memory cannot be opened: is /proc mounted?");
}

MEMORY_FILE::~MEMORY_FILE() {
    close(m_descriptor);
}

void MEMORY_FILE::Take(std::string_view piece) {
    while (!piece.empty()) {
        ssize_t const count = write(m_descriptor, piece.data(), piece.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) throw FAILURE(std::string("a file in memory cannot be written: ") + std::strerror(errno));
        piece.remove_prefix(static_cast<std::size_t>(count));
    }
}

void MEMORY_FILE::Restart() {
    if (ftruncate(m_descriptor, 0) != 0 || lseek(m_descriptor, 0, SEEK_SET) != 0) {
        throw FAILURE(std::string("a file in memory cannot be emptied: ") + std::strerror(errno));
    }
}
