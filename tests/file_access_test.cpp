// Who may read or change a ticket's file: other users who put files and links in its way, and which of
// the old file's mode, group, access control list and extended attributes a save keeps. The tests run as root, which
// acts for both users.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "support/FileTickets.h"
#include "support/NextFunction.h"
#include "support/Unprivileged.h"

namespace {

using namespace tickets;
using files::Mode;
using files::Names;
using files::Write;
using testing::ElementsAre;

bool g_refusesLinks = false;
bool g_hidesAcls = false;
std::function<void()> g_beforeLink;
std::function<void()> g_afterAcl;
bool g_refusesAcls = false;

constexpr uid_t NOBODY_ID = 65534;
char const ACL[] = "system.posix_acl_access";
char const DEFAULT_ACL[] = "system.posix_acl_default";

}  // namespace

extern "C" {

int link(char const* from, char const* to) noexcept {
    static auto const next = NextFunction<decltype(&link)>("link");
    if (auto const meanwhile = std::exchange(g_beforeLink, nullptr)) meanwhile();
    if (!g_refusesLinks) return next(from, to);
    errno = EPERM;
    return -1;
}

ssize_t getxattr(char const* path, char const* name, void* value, size_t size) noexcept {
    static auto const next = NextFunction<decltype(&getxattr)>("getxattr");
    bool const isAcl = std::string(name) == ACL;
    if (isAcl && g_hidesAcls) {
        errno = EIO;
        return -1;
    }
    ssize_t const result = next(path, name, value, size);
    int const error = errno;
    if (auto const meanwhile = isAcl ? std::exchange(g_afterAcl, nullptr) : nullptr) meanwhile();
    errno = error;
    return result;
}

int fsetxattr(int file, char const* name, void const* value, size_t size, int flags) noexcept {
    static auto const next = NextFunction<decltype(&fsetxattr)>("fsetxattr");
    if (!g_refusesAcls || std::string(name) != ACL) return next(file, name, value, size, flags);
    errno = EOPNOTSUPP;
    return -1;
}

}  // extern "C"

namespace {

enum TAG { OWNER_TAG = 1, USER = 2, GROUP = 4, NAMED_GROUP = 8, MASK = 16, OTHERS = 32 };

struct ACL_LINE {
    TAG tag;
    int bits;
    unsigned int id = ~0u;
};

// An access control list in the binary form that setxattr takes.
std::string AclOf(std::vector<ACL_LINE> const& lines) {
    std::string text;
    auto const append = [&](unsigned int number, int bytes) {
        for (int i = 0; i < bytes; ++i, number >>= 8) text += static_cast<char>(number & 0xff);
    };
    append(2, 4);
    for (ACL_LINE const& line : lines) {
        append(line.tag, 2);
        append(static_cast<unsigned int>(line.bits), 2);
        append(line.id, 4);
    }
    return text;
}

std::string Attribute(std::string const& path, char const* name) {
    char value[1000];
    ssize_t const size = getxattr(path.c_str(), name, value, sizeof value);
    return size < 0 ? "" : std::string(value, static_cast<size_t>(size));
}

bool SetAttribute(std::string const& path, char const* name, std::string const& value) {
    return setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

struct stat Found(std::string const& path) {
    struct stat found {};
    EXPECT_EQ(stat(path.c_str(), &found), 0) << path;
    return found;
}

void MakeFile(std::string const& path, mode_t mode, std::string const& content = Document({})) {
    Write(path, content);
    chmod(path.c_str(), mode);
}

bool Save(std::string const& file) {
    OWNER const ticket(file.c_str());
    return Set(ticket, "password", "secret") && Operate(ticket, STICKET_OP_SAVE) && GetText(ticket, "password");
}

bool NobodyCan(std::string const& path, int flags) {
    return Unprivileged([&] { return open(path.c_str(), flags) >= 0; });
}

class FileAccess : public testing::Test {
 protected:
    void SetUp() override {
        if (geteuid() != 0) GTEST_SKIP() << "only root can be two users";
        chmod(m_scratch.Path().c_str(), 0755);
        umask(0022);
    }
    ~FileAccess() override { g_refusesLinks = g_refusesAcls = g_hidesAcls = false; }

    void ShareDirectory(mode_t mode = 01777) { chmod(m_scratch.Path().c_str(), mode); }

    void ExpectSecret() const {
        EXPECT_EQ(FileContent(m_file), Document({"<password type=\"string\">secret</password>"}));
        EXPECT_EQ(Found(m_file).st_uid, 0u);
        EXPECT_EQ(Mode(m_file), 0600u);
        EXPECT_FALSE(NobodyCan(m_file, O_RDONLY));
    }

    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("s.xml");
    std::string const m_temporary = m_file + ".tmp";
};

using PlantedTemporaryFile = FileAccess;
using PlantedFile = FileAccess;
using KeptRights = FileAccess;

}  // namespace

// The temporary file

TEST_F(PlantedTemporaryFile, OfAnotherUserIsNotWrittenTo) {
    ShareDirectory();
    for (mode_t const mode : {0600u, 0644u, 0666u}) {
        ASSERT_TRUE(Unprivileged([&] {
            MakeFile(m_temporary, mode, "");
            return true;
        }));
        int const witness = open(m_temporary.c_str(), O_RDONLY);
        ASSERT_GE(witness, 0);
        EXPECT_TRUE(Save(m_file));
        char byte;
        EXPECT_EQ(read(witness, &byte, 1), 0);
        close(witness);
        ExpectSecret();
        EXPECT_THAT(Names(m_scratch), ElementsAre("s.xml"));
        unlink(m_file.c_str());
    }
}

TEST_F(PlantedTemporaryFile, ThatIsOursAndThatSomebodyHasOpenIsNotWrittenTo) {
    MakeFile(m_temporary, 0644, "left over");
    int const witness = open(m_temporary.c_str(), O_RDONLY);
    EXPECT_TRUE(Save(m_file));
    char text[100] = {};
    EXPECT_EQ(read(witness, text, sizeof text), 9);
    EXPECT_STREQ(text, "left over");
    close(witness);
    ExpectSecret();
    EXPECT_THAT(Names(m_scratch), ElementsAre("s.xml"));
}

TEST_F(PlantedTemporaryFile, ThatMayNotBeRemovedIsLeftAlone) {
    ShareDirectory();
    MakeFile(m_temporary, 0666, "of root");
    EXPECT_TRUE(Unprivileged([&] { return Save(m_file); }));
    EXPECT_EQ(FileContent(m_temporary), "of root");
    EXPECT_EQ(Found(m_file).st_uid, NOBODY_ID);
    EXPECT_EQ(Mode(m_file), 0600u);
    EXPECT_THAT(Names(m_scratch), ElementsAre("s.xml", "s.xml.tmp"));
}

// A file under the settings' name that another user may have created

TEST_F(PlantedFile, OfAnotherUserDoesNotLendItsMode) {
    for (mode_t const directory : {0755u, 01777u}) {
        for (mode_t const mode : {0644u, 0666u}) {
            MakeFile(m_file, mode);
            ASSERT_EQ(chown(m_file.c_str(), NOBODY_ID, NOBODY_ID), 0);
            ShareDirectory(directory);
            EXPECT_TRUE(Save(m_file));
            ExpectSecret();
        }
    }
}

TEST_F(PlantedFile, BehindALinkOfAnotherUserDoesNotLendItsMode) {
    MakeFile(m_scratch.Path("public"), 0644);
    ShareDirectory();
    ASSERT_TRUE(Unprivileged([&] { return symlink(m_scratch.Path("public").c_str(), m_file.c_str()) == 0; }));
    ShareDirectory(0755);
    EXPECT_TRUE(Save(m_file));
    ExpectSecret();
}

TEST_F(PlantedFile, OfAnotherUserBehindALinkOfOursDoesNotLendItsMode) {
    MakeFile(m_scratch.Path("public"), 0644);
    ASSERT_EQ(chown(m_scratch.Path("public").c_str(), NOBODY_ID, NOBODY_ID), 0);
    std::filesystem::create_symlink("public", m_file);
    EXPECT_TRUE(Save(m_file));
    ExpectSecret();
}

// The link is root's, but what it leads to was chosen by the owner of the directory.
TEST_F(PlantedFile, BehindALinkIntoADirectoryOfAnotherUserDoesNotLendItsMode) {
    std::string const home = m_scratch.Path("home");
    std::filesystem::create_directory(home);
    ASSERT_EQ(chown(home.c_str(), NOBODY_ID, NOBODY_ID), 0);
    MakeFile(m_scratch.Path("public"), 0644);
    ASSERT_TRUE(Unprivileged([&] { return symlink("../public", (home + "/link").c_str()) == 0; }));
    for (char const* const target : {"home/link", "home/file", "chain"}) {
        MakeFile(home + "/file", 0644);
        unlink(m_scratch.Path("chain").c_str());
        std::filesystem::create_symlink(home + "/file", m_scratch.Path("chain"));
        unlink(m_file.c_str());
        std::filesystem::create_symlink(target, m_file);
        EXPECT_TRUE(Save(m_file));
        SCOPED_TRACE(target);
        ExpectSecret();
    }
}

TEST_F(PlantedFile, InADirectoryThatEverybodyCanWriteToDoesNotLendItsMode) {
    for (mode_t const directory : {01777u, 0777u}) {
        MakeFile(m_file, 0644);
        ShareDirectory(directory);
        EXPECT_TRUE(Save(m_file));
        ExpectSecret();
    }
}

TEST_F(PlantedFile, InADirectoryOfAnotherUserDoesNotLendItsMode) {
    MakeFile(m_file, 0644);
    ASSERT_EQ(chown(m_scratch.Path().c_str(), NOBODY_ID, NOBODY_ID), 0);
    EXPECT_TRUE(Save(m_file));
    ExpectSecret();
}

TEST_F(PlantedFile, DoesNotLendItsAcl) {
    MakeFile(m_file, 0600);
    std::string const acl = AclOf({{OWNER_TAG, 6}, {USER, 6, NOBODY_ID}, {GROUP, 0}, {MASK, 6}, {OTHERS, 0}});
    if (!SetAttribute(m_file, ACL, acl)) GTEST_SKIP() << "this file system has no access control lists";
    ASSERT_EQ(chown(m_file.c_str(), NOBODY_ID, NOBODY_ID), 0);
    EXPECT_TRUE(Save(m_file));
    ExpectSecret();
}

// Keeping a file must not make a private file of the host's user readable, neither by a link nor by a copy.
TEST_F(PlantedFile, ThatLinksToAPrivateFileIsKeptAsALink) {
    std::string const home = m_scratch.Path("home");
    std::string const kept = m_file + ".unreadable";
    std::filesystem::create_directory(home);
    MakeFile(home + "/diary", 0644, "dear diary");
    chmod(home.c_str(), 0700);
    for (bool const refusesLinks : {false, true}) {
        ShareDirectory();
        unlink(m_file.c_str());
        unlink(kept.c_str());
        ASSERT_TRUE(Unprivileged([&] { return symlink("home/diary", m_file.c_str()) == 0; }));
        g_refusesLinks = refusesLinks;
        EXPECT_TRUE(Save(m_file));
        ExpectSecret();
        EXPECT_EQ(std::filesystem::read_symlink(kept), "home/diary");
        EXPECT_FALSE(NobodyCan(kept, O_RDONLY));
        EXPECT_EQ(FileContent(home + "/diary"), "dear diary");
        EXPECT_THAT(Names(m_scratch), ElementsAre("home", "s.xml", "s.xml.unreadable"));
    }
}

TEST_F(PlantedFile, ThatBecomesALinkWhileItIsKeptIsNotFollowed) {
    std::string const diary = m_scratch.Path("diary");
    std::string const kept = m_file + ".unreadable";
    MakeFile(diary, 0600, "dear diary");
    MakeFile(m_file, 0644, "broken");
    g_refusesLinks = true;
    g_beforeLink = [&] {
        unlink(m_file.c_str());
        EXPECT_EQ(symlink("diary", m_file.c_str()), 0);
    };
    EXPECT_TRUE(Save(m_file));
    EXPECT_TRUE(std::filesystem::is_symlink(kept));
    EXPECT_EQ(FileContent(diary), "dear diary");
}

TEST_F(PlantedFile, ThatIsKeptAsACopyIsTheOwnersAlone) {
    ShareDirectory();
    MakeFile(m_file, 0644, "broken, with a password");
    g_refusesLinks = true;
    EXPECT_TRUE(Save(m_file));
    EXPECT_EQ(FileContent(m_file + ".unreadable"), "broken, with a password");
    EXPECT_EQ(Mode(m_file + ".unreadable"), 0600u);
}

// Under the sticky bit only a file's owner may remove one of its names, so a second name would stay for good.
TEST_F(PlantedFile, ThatTheSavingUserMayNotRemoveGetsNoFurtherNames) {
    ShareDirectory();
    MakeFile(m_file, 0666, "broken");
    EXPECT_TRUE(Unprivileged([&] { return Save(m_file) && Save(m_file); }));
    EXPECT_EQ(FileContent(m_file), "broken");
    EXPECT_EQ(FileContent(m_file + ".unreadable"), "broken");
    EXPECT_THAT(Names(m_scratch), ElementsAre("s.xml", "s.xml.unreadable"));
}

// Attributes that a save keeps

TEST_F(KeptRights, AreModeAndGroup) {
    for (mode_t const directory : {0755u, 0775u}) {
        ShareDirectory(directory);
        for (mode_t const mode : {0600u, 0640u, 0664u, 0604u}) {
            MakeFile(m_file, mode);
            ASSERT_EQ(chown(m_file.c_str(), 0, NOBODY_ID), 0);
            EXPECT_TRUE(Save(m_file));
            EXPECT_EQ(Mode(m_file), mode);
            EXPECT_EQ(Found(m_file).st_gid, NOBODY_ID);
            unlink(m_file.c_str());
        }
    }
}

TEST_F(KeptRights, AreThoseOfAFileOfOursBehindLinks) {
    MakeFile(m_scratch.Path("real"), 0640);
    std::filesystem::create_directory(m_scratch.Path("deep"));
    std::filesystem::create_symlink("../real", m_scratch.Path("deep/link"));
    std::filesystem::create_symlink("deep/link", m_file);
    EXPECT_TRUE(Save(m_file));
    EXPECT_EQ(Mode(m_file), 0640u);
}

TEST_F(KeptRights, LoseTheBitsOfAGroupThatCannotBeKept) {
    std::string const home = m_scratch.Path("home");
    std::string const file = home + "/s.xml";
    std::filesystem::create_directory(home);
    ASSERT_EQ(chown(home.c_str(), NOBODY_ID, NOBODY_ID), 0);
    struct CASE {
        mode_t before;
        mode_t after;
    };
    for (CASE const c : {CASE{0660, 0600}, CASE{0644, 0604}, CASE{0604, 0600}, CASE{0646, 0604}, CASE{0600, 0600}}) {
        MakeFile(file, c.before);
        ASSERT_EQ(chown(file.c_str(), NOBODY_ID, 0), 0);  // a group that "nobody" does not belong to
        EXPECT_TRUE(Unprivileged([&] { return Save(file); }));
        EXPECT_EQ(Found(file).st_gid, NOBODY_ID);
        EXPECT_EQ(Mode(file), c.after) << std::oct << c.before;
    }
}

TEST_F(KeptRights, AreAclsAndExtendedAttributesOfUsers) {
    MakeFile(m_file, 0600);
    std::string const acl = AclOf({{OWNER_TAG, 6}, {USER, 4, NOBODY_ID}, {GROUP, 0}, {MASK, 4}, {OTHERS, 0}});
    if (!SetAttribute(m_file, ACL, acl)) GTEST_SKIP() << "this file system has no access control lists";
    bool const hasAttributes = SetAttribute(m_file, "user.origin", "elsewhere") && SetAttribute(m_file, "user.b", "");
    EXPECT_TRUE(Save(m_file));
    EXPECT_EQ(Attribute(m_file, ACL), acl);
    EXPECT_EQ(Mode(m_file), 0640u);
    EXPECT_TRUE(NobodyCan(m_file, O_RDONLY));
    EXPECT_FALSE(NobodyCan(m_file, O_WRONLY));
    if (hasAttributes) {
        EXPECT_EQ(Attribute(m_file, "user.origin"), "elsewhere");
        EXPECT_EQ(getxattr(m_file.c_str(), "user.b", nullptr, 0), 0);
    }
}

TEST_F(KeptRights, AreNoMoreThanThoseOfAnAclThatCannotBeKept) {
    struct CASE {
        std::vector<ACL_LINE> lines;
        mode_t mode;
    };
    for (CASE const& c : {
             CASE{{{OWNER_TAG, 6}, {USER, 6, 7}, {GROUP, 0}, {MASK, 6}, {OTHERS, 0}}, 0600},
             CASE{{{OWNER_TAG, 6}, {USER, 6, 7}, {GROUP, 6}, {MASK, 4}, {OTHERS, 4}}, 0644},
             CASE{{{OWNER_TAG, 6}, {USER, 0, 7}, {GROUP, 6}, {MASK, 6}, {OTHERS, 4}}, 0600},
             CASE{{{OWNER_TAG, 6}, {GROUP, 6}, {NAMED_GROUP, 7, 7}, {MASK, 4}, {OTHERS, 6}}, 0644},
         }) {
        MakeFile(m_file, 0600);
        if (!SetAttribute(m_file, ACL, AclOf(c.lines))) GTEST_SKIP() << "this file system has no access control lists";
        g_refusesAcls = true;
        EXPECT_TRUE(Save(m_file));
        g_refusesAcls = false;
        EXPECT_EQ(Attribute(m_file, ACL), "");
        EXPECT_EQ(Mode(m_file), c.mode);
        unlink(m_file.c_str());
    }
}

TEST_F(KeptRights, AreTheOwnersAloneWhereAnAclCannotBeRead) {
    MakeFile(m_file, 0664);
    g_hidesAcls = true;
    EXPECT_TRUE(Save(m_file));
    EXPECT_EQ(Mode(m_file), 0600u);
}

TEST_F(KeptRights, AreReadAgainWhenTheyChangeMeanwhile) {
    MakeFile(m_file, 0644);
    g_afterAcl = [this] {  // until the time of the change differs: the clock of a file system may tick every 10 ms
        timespec const made = Found(m_file).st_ctim;
        timespec changed = made;
        for (; changed.tv_sec == made.tv_sec && changed.tv_nsec == made.tv_nsec; changed = Found(m_file).st_ctim)
            chmod(m_file.c_str(), 0600);
    };
    EXPECT_TRUE(Save(m_file));
    EXPECT_EQ(g_afterAcl, nullptr);
    EXPECT_EQ(Mode(m_file), 0600u);
}

// To set an attribute takes the right to write, which the mask may deny the owner.
TEST_F(KeptRights, DoNotDependOnTheMaskOfTheProcess) {
    ASSERT_EQ(chown(m_scratch.Path().c_str(), NOBODY_ID, NOBODY_ID), 0);
    MakeFile(m_file, 0640);
    ASSERT_EQ(chown(m_file.c_str(), NOBODY_ID, NOBODY_ID), 0);
    if (!SetAttribute(m_file, "user.origin", "elsewhere")) GTEST_SKIP() << "this file system has no such attributes";
    EXPECT_TRUE(Unprivileged([&] {
        umask(0777);
        return Save(m_file);
    }));
    EXPECT_EQ(Attribute(m_file, "user.origin"), "elsewhere");
    EXPECT_EQ(Mode(m_file), 0640u);
}

TEST_F(KeptRights, AreNotWidenedByWhatADirectoryGivesNewFiles) {
    std::string const acl = AclOf({{OWNER_TAG, 7}, {USER, 7, NOBODY_ID}, {GROUP, 5}, {MASK, 7}, {OTHERS, 5}});
    if (!SetAttribute(m_scratch.Path(), DEFAULT_ACL, acl))
        GTEST_SKIP() << "this file system has no access control lists";
    EXPECT_TRUE(Save(m_file));
    ExpectSecret();
    removexattr(m_file.c_str(), ACL);
    chmod(m_file.c_str(), 0640);
    EXPECT_TRUE(Save(m_file));
    EXPECT_EQ(Mode(m_file), 0640u);
    EXPECT_FALSE(NobodyCan(m_file, O_RDONLY));
}
