// Reading a ticket's file: its bytes from any offset, and names that lead to something other than a regular file.
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "Disk/FileReader.h"
#include "support/Files.h"
#include "support/ScratchDirectory.h"
#include "support/Unprivileged.h"

namespace {

using files::Write;
using TICKETFILE::FILE_READER;

std::string TextOf(FILE_READER& content) {
    std::string text(2000000, '\0');
    text.resize(content.Read(0, text.data(), text.size()).value());
    return text;
}

class FileRead : public testing::Test {
 protected:
    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
};

}  // namespace

TEST_F(FileRead, ReturnsAllBytes) {
    for (size_t const size : {0u, 1u, 4095u, 4096u, 100000u, 1000000u}) {
        std::string text(size, 'x');
        if (size) text[size / 2] = '\0';
        Write(m_file, text);
        FILE_READER content(m_file);
        EXPECT_EQ(content.State(), FILE_READER::OPEN);
        EXPECT_EQ(content.Size(), size);
        EXPECT_EQ(TextOf(content), text);
    }
}

TEST_F(FileRead, ReturnsTheBytesOfAnyPlace) {
    Write(m_file, "0123456789");
    FILE_READER content(m_file);
    std::string text(4, '.');
    EXPECT_EQ(content.Read(3, text.data(), 4), 4u);
    EXPECT_EQ(text, "3456");
    EXPECT_EQ(content.Read(8, text.data(), 4), 2u);
    EXPECT_EQ(text, "8956");
    EXPECT_EQ(content.Read(10, text.data(), 4), 0u);
    EXPECT_EQ(content.Read(1000, text.data(), 4), 0u);
}

TEST_F(FileRead, GoesOnWithTheOldContentOfAFileThatIsReplaced) {
    Write(m_file, "old text");
    FILE_READER content(m_file);
    Write(m_scratch.Path("new"), "new text, longer");
    std::filesystem::rename(m_scratch.Path("new"), m_file);
    EXPECT_EQ(TextOf(content), "old text");
}

TEST_F(FileRead, FileThatTellsNoSizeIsReadToItsEnd) {
    FILE_READER content("/proc/self/status");
    EXPECT_EQ(content.State(), FILE_READER::OPEN);
    std::string const text = TextOf(content);
    ASSERT_GT(text.size(), 500u);
    EXPECT_EQ(text.back(), '\n');
}

TEST_F(FileRead, FollowsASymbolicLink) {
    Write(m_scratch.Path("elsewhere"), "text");
    std::filesystem::create_symlink(m_scratch.Path("elsewhere"), m_file);
    FILE_READER content(m_file);
    EXPECT_EQ(TextOf(content), "text");
}

TEST_F(FileRead, TellsAMissingFileFromAnUnreadableOne) {
    Write(m_scratch.Path("plain"), "");
    std::filesystem::create_symlink(m_scratch.Path("nowhere"), m_scratch.Path("dangling"));
    std::filesystem::create_symlink(m_scratch.Path("loop"), m_scratch.Path("loop"));
    std::filesystem::create_directory(m_scratch.Path("directory"));
    ASSERT_EQ(mkfifo((m_scratch.Path("pipe")).c_str(), 0600), 0);
    for (std::string const& name : {std::string(), m_scratch.Path("t.xml"), m_scratch.Path("missing/t.xml"),
                                    m_scratch.Path("plain/t.xml"), m_scratch.Path("dangling")})
        EXPECT_EQ(FILE_READER(name).State(), FILE_READER::MISSING) << name;
    for (std::string const& name : {m_scratch.Path("loop"), m_scratch.Path("directory"), m_scratch.Path("pipe"),
                                    std::string("/dev/zero"), m_scratch.Path(std::string(300, 'n'))})
        EXPECT_EQ(FILE_READER(name).State(), FILE_READER::UNREADABLE) << name;
}

// Opening a device can already make it act.
TEST_F(FileRead, DoesNotOpenWhatIsNoRegularFile) {
    struct CASE {
        std::string path;
        int error;
    };
    std::string const directory = m_scratch.Path("directory");
    std::string const pipe = m_scratch.Path("pipe");
    std::string const socket = m_scratch.Path("socket");
    std::filesystem::create_directory(directory);
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    ASSERT_EQ(mknod(socket.c_str(), S_IFSOCK | 0600, 0), 0);
    std::filesystem::create_symlink(pipe, m_file);
    for (CASE const& c :
         {CASE{directory, EISDIR}, CASE{pipe, EOPNOTSUPP}, CASE{m_file, EOPNOTSUPP}, CASE{socket, EOPNOTSUPP}}) {
        SCOPED_TRACE(c.path);
        int const opened = inotify_init1(IN_NONBLOCK);
        ASSERT_GE(inotify_add_watch(opened, c.path.c_str(), IN_OPEN), 0);
        FILE_READER const content(c.path);
        EXPECT_EQ(content.State(), FILE_READER::UNREADABLE);
        EXPECT_EQ(content.Error(), c.error);
        inotify_event event;
        EXPECT_LT(read(opened, &event, sizeof event), 0);
        close(opened);
    }
}

TEST_F(FileRead, FileWithoutPermissionIsUnreadable) {
    Write(m_file, "secret");
    std::filesystem::permissions(m_file, std::filesystem::perms(0000));
    std::filesystem::permissions(m_scratch.Path(), std::filesystem::perms(0755));
    EXPECT_TRUE(Unprivileged([&] { return FILE_READER(m_file).State() == FILE_READER::UNREADABLE; }));
}
