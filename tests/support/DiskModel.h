// What a disk may hold after a power failure: a record of the calls that change files, and a model of the minimum that
// a file system guarantees about them.
//
// The bytes of a file are on the disk once the file was flushed; until then all of them, some or none may be there.
// Names are on the disk once their directory was flushed; until then the disk may hold the first changes of the
// directory, up to any one of them.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

struct FILE_EVENT {
    enum KIND { OPEN, DUPLICATE, CLOSE, WRITE, TRUNCATE, FLUSH, FLUSH_DIRECTORY, LINK, RENAME, UNLINK };
    KIND kind;
    int file = -1;         // the descriptor that the call uses or returns
    int source = -1;       // DUPLICATE: the original
    std::string name{};    // OPEN, LINK, RENAME, UNLINK
    std::string target{};  // LINK, RENAME
    std::string bytes{};   // WRITE
    bool empties = false;  // OPEN: O_TRUNC
};

class DISK_MODEL {
 public:
    // The bytes of a file; nothing if there is no file.
    using CONTENT = std::optional<std::string>;

    // Begins with these files on the disk.
    explicit DISK_MODEL(std::map<std::string, std::string> const& files) {
        for (auto const& [name, content] : files) {
            m_durableNames[name] = m_inodes.size();
            m_inodes.push_back({content, content});
        }
        m_names = m_durableNames;
    }

    void Happen(FILE_EVENT const& event) {
        switch (event.kind) {
            case FILE_EVENT::OPEN:
                return Open(event);
            case FILE_EVENT::DUPLICATE:
                if (m_open.count(event.source)) m_open[event.file] = m_open[event.source];
                return;
            case FILE_EVENT::CLOSE:
                m_open.erase(event.file);
                return;
            case FILE_EVENT::WRITE:
                Opened(event.file).now += event.bytes;
                return;
            case FILE_EVENT::TRUNCATE:
                Opened(event.file).now.clear();
                return;
            case FILE_EVENT::FLUSH:
                Opened(event.file).durable = Opened(event.file).now;
                return;
            case FILE_EVENT::FLUSH_DIRECTORY:
                m_durableNames = m_names;
                m_changes.clear();
                return;
            case FILE_EVENT::LINK:
                return Change({{event.target, m_names.at(event.name)}});
            case FILE_EVENT::RENAME:
                return Change({{event.target, m_names.at(event.name)}, {event.name, std::nullopt}});
            case FILE_EVENT::UNLINK:
                return Change({{event.name, std::nullopt}});
        }
    }

    // Every content that a file may have if the power fails now.
    std::set<CONTENT> AfterPowerLoss(std::string const& name) const {
        std::set<CONTENT> contents;
        NAMES names = m_durableNames;
        AddContents(names, name, contents);
        for (CHANGE const& change : m_changes) {
            Apply(change, names);
            AddContents(names, name, contents);
        }
        return contents;
    }

 private:
    struct INODE {
        std::string durable;
        std::string now;
    };
    using NAMES = std::map<std::string, std::size_t>;
    using CHANGE = std::vector<std::pair<std::string, std::optional<std::size_t>>>;

    static void Apply(CHANGE const& change, NAMES& names) {
        for (auto const& [name, inode] : change) {
            if (inode)
                names[name] = *inode;
            else
                names.erase(name);
        }
    }

    void Change(CHANGE change) {
        Apply(change, m_names);
        m_changes.push_back(std::move(change));
    }

    void Open(FILE_EVENT const& event) {
        if (!m_names.count(event.name)) {
            m_inodes.emplace_back();
            Change({{event.name, m_inodes.size() - 1}});
        }
        m_open[event.file] = m_names.at(event.name);
        if (event.empties) Opened(event.file).now.clear();
    }

    INODE& Opened(int file) { return m_inodes.at(m_open.at(file)); }

    void AddContents(NAMES const& names, std::string const& name, std::set<CONTENT>& contents) const {
        auto const found = names.find(name);
        if (found == names.end()) {
            contents.insert(std::nullopt);
            return;
        }
        INODE const& inode = m_inodes[found->second];
        contents.insert(inode.durable);
        contents.insert(inode.now);
        if (inode.now != inode.durable) contents.insert(inode.now.substr(0, inode.now.size() / 2));
    }

    std::vector<INODE> m_inodes;
    NAMES m_names;
    NAMES m_durableNames;
    std::vector<CHANGE> m_changes;  // of names, since the directory was flushed
    std::map<int, std::size_t> m_open;
};
