// A disk that can lose power: a FUSE file system of one file, DIRECTORY/disk, for a loop device to lie on. It records
// which writes were flushed. Write "SEED KEPT WRITES FILE" to DIRECTORY/cut to get, after WRITES more writes, an image
// in FILE that a power cut may leave: everything that was flushed, and for each block written since then one of its
// states, chosen at random; KEPT is the chance, in percent, that a block has changed at all. FILE.txt then holds four
// numbers: the two of COUNTERS at the moment of the cut, the blocks that were not flushed, and the blocks of these that
// were lost.
//
// Usage: logging_disk DIRECTORY MEBIBYTES COUNTERS; ends when DIRECTORY is unmounted.
#define FUSE_USE_VERSION 31
#include <fcntl.h>
#include <fuse.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <new>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t BLOCK = 4096;
constexpr std::string_view DISK_NAME = "/disk";
constexpr std::string_view CUT_NAME = "/cut";

struct CUT {
    unsigned int seed;
    unsigned int percentKept;
    unsigned int writes;  // left before the cut
    std::string fileName;
};

class LOGGING_DISK {
 public:
    LOGGING_DISK(std::size_t size, std::string countersName) : m_size(size), m_countersName(std::move(countersName)) {
        void* const memory =
            mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED) throw std::bad_alloc();
        m_flushed = static_cast<char*>(memory);
    }

    std::size_t Size() const { return m_size; }

    std::size_t Read(char* bytes, std::size_t size, std::size_t offset) const {
        return ForEachBlock(size, offset, [&](std::size_t block, std::size_t within, std::size_t length) {
            std::memcpy(bytes, Latest(block) + within, length);
            bytes += length;
        });
    }

    std::size_t Write(char const* bytes, std::size_t size, std::size_t offset) {
        std::size_t const done =
            ForEachBlock(size, offset, [&](std::size_t block, std::size_t within, std::size_t length) {
                STATE state;
                std::memcpy(state.data(), Latest(block), BLOCK);
                std::memcpy(state.data() + within, bytes, length);
                m_unflushed[block].push_back(state);
                bytes += length;
            });
        if (m_cut && m_cut->writes-- == 0) CutNow();
        return done;
    }

    void Cut(CUT cut) { m_cut = std::move(cut); }

    void Flush() {
        for (auto const& [block, states] : m_unflushed) {
            std::memcpy(m_flushed + block * BLOCK, states.back().data(), BLOCK);
            m_written.insert(block);
        }
        m_unflushed.clear();
    }

 private:
    using STATE = std::array<char, BLOCK>;

    template <typename WORK>
    std::size_t ForEachBlock(std::size_t size, std::size_t offset, WORK const& work) const {
        if (offset >= m_size) return 0;
        size = std::min(size, m_size - offset);
        for (std::size_t done = 0; done < size;) {
            std::size_t const within = (offset + done) % BLOCK;
            std::size_t const length = std::min(BLOCK - within, size - done);
            work((offset + done) / BLOCK, within, length);
            done += length;
        }
        return size;
    }

    char const* Latest(std::size_t block) const {
        auto const found = m_unflushed.find(block);
        return found == m_unflushed.end() ? m_flushed + block * BLOCK : found->second.back().data();
    }

    static bool WriteBlock(int file, std::size_t block, char const* bytes) {
        return pwrite(file, bytes, BLOCK, static_cast<off_t>(block * BLOCK)) == static_cast<ssize_t>(BLOCK);
    }

    void CutNow() {
        // Read first: a save that has returned by now must be in this image.
        uint64_t counters[2] = {};
        std::ifstream(m_countersName, std::ios::binary).read(reinterpret_cast<char*>(counters), sizeof counters);
        int const file = open(m_cut->fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        bool written = ftruncate(file, static_cast<off_t>(m_size)) == 0;
        for (std::size_t block : m_written) written &= WriteBlock(file, block, m_flushed + block * BLOCK);
        std::mt19937 random(m_cut->seed);
        std::size_t lost = 0;
        for (auto const& [block, states] : m_unflushed) {
            if (random() % 100 >= m_cut->percentKept) {
                ++lost;
                continue;
            }
            // Mostly the last state: a disk rarely returns to an earlier one.
            std::size_t const chosen = random() % 4 == 0 ? random() % states.size() : states.size() - 1;
            written &= WriteBlock(file, block, states[chosen].data());
        }
        close(file);
        // The file's existence signals that the cut is done.
        std::string const report = m_cut->fileName + ".txt";
        if (written)
            std::ofstream(report + ".part")
                << counters[0] << ' ' << counters[1] << ' ' << m_unflushed.size() << ' ' << lost << '\n';
        rename((report + ".part").c_str(), report.c_str());
        m_cut.reset();
    }

    std::size_t const m_size;
    std::string const m_countersName;
    char* m_flushed;
    std::set<std::size_t> m_written;  // the blocks of m_flushed that were ever written
    std::map<std::size_t, std::vector<STATE>> m_unflushed;
    std::optional<CUT> m_cut;  // the next cut
};

LOGGING_DISK& Disk() {
    return *static_cast<LOGGING_DISK*>(fuse_get_context()->private_data);
}

int GetAttributes(char const* path, struct stat* attributes, fuse_file_info*) {
    *attributes = {};
    if (path == std::string_view("/")) {
        attributes->st_mode = S_IFDIR | 0700;
        attributes->st_nlink = 2;
        return 0;
    }
    if (path != DISK_NAME && path != CUT_NAME) return -ENOENT;
    attributes->st_mode = S_IFREG | 0600;
    attributes->st_nlink = 1;
    attributes->st_size = path == DISK_NAME ? static_cast<off_t>(Disk().Size()) : 0;
    return 0;
}

int Read(char const* path, char* bytes, std::size_t size, off_t offset, fuse_file_info*) {
    if (path != DISK_NAME) return 0;
    return static_cast<int>(Disk().Read(bytes, size, static_cast<std::size_t>(offset)));
}

int Write(char const* path, char const* bytes, std::size_t size, off_t offset, fuse_file_info*) {
    if (path == DISK_NAME) return static_cast<int>(Disk().Write(bytes, size, static_cast<std::size_t>(offset)));
    std::istringstream command(std::string(bytes, size));
    CUT cut;
    if (!(command >> cut.seed >> cut.percentKept >> cut.writes >> cut.fileName)) return -EINVAL;
    Disk().Cut(std::move(cut));
    return static_cast<int>(size);
}

int Flush(char const* path, int, fuse_file_info*) {
    if (path == DISK_NAME) Disk().Flush();
    return 0;
}

int Truncate(char const*, off_t, fuse_file_info*) {
    return 0;  // called for O_TRUNC; there is nothing to truncate
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: logging_disk DIRECTORY MEBIBYTES COUNTERS\n");
        return 2;
    }
    LOGGING_DISK disk(std::strtoul(argv[2], nullptr, 10) << 20, argv[3]);
    fuse_operations operations{};
    operations.getattr = &GetAttributes;
    operations.read = &Read;
    operations.write = &Write;
    operations.fsync = &Flush;
    operations.truncate = &Truncate;
    // One thread: a cut falls between two requests.
    std::array<char*, 5> arguments{argv[0], const_cast<char*>("-f"), const_cast<char*>("-s"), argv[1], nullptr};
    return fuse_main(4, arguments.data(), &operations, &disk);
}
