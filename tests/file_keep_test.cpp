// Keeping a file that could not be read beside the one that replaces it: by a link, a copy or a rename, whichever the
// system allows, and where both names lead at every moment.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>

#include "Disk/FileReader.h"
#include "Disk/Replacement.h"
#include "support/FailingSystemCalls.h"
#include "support/Files.h"
#include "support/Replace.h"
#include "support/SavedMarks.h"

namespace {

using files::Exists;
using files::Mode;
using files::Names;
using files::Write;
using testing::ElementsAre;
using TICKETFILE::Delete;
using TICKETFILE::FILE_READER;
using TICKETFILE::KEPT;
using TICKETFILE::OLD;
using TICKETFILE::REPLACEMENT;
using TICKETFILE::SAVE_OUTCOME;
using TICKETFILE::SAVE_STEP;

// The simulated behaviour of the system; used by one thread only.
struct SYSTEM {
    int linkError = 0;
    int copyError = 0;
    int renameError = 0;                   // for files other than the temporary one
    bool hasMarks = true;                  // whether files can have extended attributes
    int writesLeft = -1;                   // until the disk is full; -1: any number
    int readsLeft = -1;                    // until the disk cannot be read; -1: any number
    std::function<void()> beforeLink{};    // called once
    std::function<void()> beforeChange{};  // called before each change of a directory
};
SYSTEM g_system;

bool IsTemporary(std::string const& name) {
    return name.size() > 4 && name.compare(name.size() - 4, 4, ".tmp") == 0;
}

// Whether no call is left; otherwise counts one.
bool IsUsedUp(int& left) {
    if (left == 0) return true;
    if (left > 0) --left;
    return false;
}

int BeforeCall(std::string_view kind, char const* path) {
    bool const changesDirectory = kind == "link" || kind == "rename" || kind == "unlink";
    if (changesDirectory && g_system.beforeChange) g_system.beforeChange();
    if (kind == "link") {
        if (auto const once = std::exchange(g_system.beforeLink, nullptr)) once();
        return g_system.linkError;
    }
    if (kind == "rename") return IsTemporary(path) ? 0 : g_system.renameError;
    if (kind == "write") return IsUsedUp(g_system.writesLeft) ? ENOSPC : 0;
    if (kind == "read") return IsUsedUp(g_system.readsLeft) ? EIO : 0;
    if (kind == "getxattr" || kind == "fsetxattr") return g_system.hasMarks ? 0 : EOPNOTSUPP;
    if (kind == "mkostemp") return g_system.copyError;
    return 0;
}

// Restores the usual behaviour at the end of a test.
struct USUAL_SYSTEM {
    USUAL_SYSTEM() { system_calls::g_before = &BeforeCall; }
    ~USUAL_SYSTEM() {
        system_calls::g_before = nullptr;
        g_system = SYSTEM{};
    }
};

class FileKeep : public testing::Test {
 protected:
    // Replaces the file by "new"; returns what became of the old one.
    KEPT Save() {
        SAVE_OUTCOME const outcome = OutcomeOfReplacing(m_file, "new", OLD::KEEP);
        g_system = SYSTEM{};
        EXPECT_TRUE(outcome.Succeeded());
        EXPECT_EQ(FileContent(m_file), "new");
        return outcome.kept;
    }

    // As Save; expects that the name leads to a file at every moment.
    KEPT SaveWithoutAGap() {
        g_system.beforeChange = [this] { EXPECT_TRUE(Exists(m_file)); };
        return Save();
    }

    // Expects the new file and the kept one, and nothing else.
    void ExpectKept(std::string const& content) const {
        EXPECT_EQ(FileContent(m_unreadable), content);
        EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml", "t.xml.unreadable"));
    }

    SCRATCH_DIRECTORY m_scratch;
    std::string const m_file = m_scratch.Path("t.xml");
    std::string const m_unreadable = m_file + ".unreadable";
    USUAL_SYSTEM m_usual;
};

using FileKeepDelete = FileKeep;

}  // namespace

TEST_F(FileKeep, KeptFileIsTheOldOneUnderASecondName) {
    Write(m_file, "old");
    std::filesystem::permissions(m_file, std::filesystem::perms(0644));
    struct stat before;
    struct stat after;
    ASSERT_EQ(stat(m_file.c_str(), &before), 0);
    EXPECT_EQ(SaveWithoutAGap(), KEPT::YES);
    ExpectKept("old");
    ASSERT_EQ(stat(m_unreadable.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(Mode(m_file), 0644u);
}

TEST_F(FileKeep, EarlierKeptFileIsReplacedAtOnce) {
    Write(m_file, "old");
    Write(m_unreadable, "earlier");
    g_system.beforeChange = [this] { EXPECT_TRUE(Exists(m_unreadable)); };
    EXPECT_EQ(Save(), KEPT::YES);
    ExpectKept("old");
}

TEST_F(FileKeep, FileThatIsKeptAlreadyStaysKept) {
    Write(m_file, "old");
    std::filesystem::create_hard_link(m_file, m_unreadable);
    EXPECT_EQ(SaveWithoutAGap(), KEPT::YES);
    ExpectKept("old");
}

TEST_F(FileKeep, OnlyTheSaveThatWasAskedToKeeps) {
    Write(m_file, "old");
    EXPECT_EQ(OutcomeOfReplacing(m_file, "new", OLD::DISCARD).kept, KEPT::NOTHING);
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileKeep, NothingIsKeptWhereNothingWas) {
    EXPECT_EQ(Save(), KEPT::NOTHING);
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileKeep, FileThatVanishesMeanwhileIsNoFailure) {
    Write(m_file, "old");
    Write(m_unreadable, "earlier");
    g_system.beforeLink = [this] { std::filesystem::remove(m_file); };
    EXPECT_EQ(Save(), KEPT::NOTHING);
    ExpectKept("earlier");
}

TEST_F(FileKeep, FileIsCopiedWhereThereAreNoLinks) {
    for (int const error : {EPERM, EOPNOTSUPP, EMLINK}) {
        std::string const content = std::string(100000, 'x') + "\0end";
        Write(m_file, content);
        std::filesystem::permissions(m_file, std::filesystem::perms(0440));
        Write(m_unreadable, "earlier");
        g_system.linkError = error;
        EXPECT_EQ(SaveWithoutAGap(), KEPT::YES);
        ExpectKept(content);
        EXPECT_EQ(Mode(m_unreadable), 0440u);
        std::filesystem::remove(m_file);
    }
}

TEST_F(FileKeep, FileThatCanNeitherBeLinkedNorCopiedIsMoved) {
    Write(m_file, "old");
    g_system.linkError = EPERM;
    g_system.copyError = EACCES;
    EXPECT_EQ(Save(), KEPT::YES);
    ExpectKept("old");
}

TEST_F(FileKeep, CopyThatTheDiskHasNoRoomForIsNotTakenForTheFile) {
    std::string const content(100000, 'x');
    Write(m_file, content);
    g_system.linkError = EPERM;
    g_system.beforeLink = [] { g_system.writesLeft = 1; };  // the new file is complete by then
    EXPECT_EQ(Save(), KEPT::YES);
    ExpectKept(content);
}

TEST_F(FileKeep, CopyOfAFileThatCannotBeReadToItsEndIsNotTakenForTheFile) {
    std::string const content(100000, 'x');
    Write(m_file, content);
    g_system.linkError = EPERM;
    g_system.readsLeft = 2;
    EXPECT_EQ(Save(), KEPT::YES);
    ExpectKept(content);
}

TEST_F(FileKeep, SymbolicLinkIsKeptAsWhatItIs) {
    Write(m_scratch.Path("elsewhere"), "old");
    std::filesystem::create_symlink("elsewhere", m_file);
    EXPECT_EQ(SaveWithoutAGap(), KEPT::YES);
    EXPECT_EQ(std::filesystem::read_symlink(m_unreadable), "elsewhere");
    EXPECT_EQ(FileContent(m_unreadable), "old");
    EXPECT_FALSE(std::filesystem::is_symlink(m_file));
}

TEST_F(FileKeep, SymbolicLinkIsKeptAsWhatItIsWhereThereAreNoHardLinks) {
    for (char const* const target : {"elsewhere", "nowhere"}) {
        Write(m_scratch.Path("elsewhere"), "old");
        std::filesystem::remove(m_file);
        std::filesystem::create_symlink(target, m_file);
        g_system.linkError = EPERM;
        EXPECT_EQ(SaveWithoutAGap(), KEPT::YES);
        EXPECT_EQ(std::filesystem::read_symlink(m_unreadable), target);
        EXPECT_THAT(Names(m_scratch), ElementsAre("elsewhere", "t.xml", "t.xml.unreadable"));
    }
}

TEST_F(FileKeep, LinkToNowhereIsKeptToo) {
    std::filesystem::create_symlink("nowhere", m_file);
    EXPECT_EQ(SaveWithoutAGap(), KEPT::YES);
    EXPECT_EQ(std::filesystem::read_symlink(m_unreadable), "nowhere");
}

// Which file need not be kept

TEST_F(FileKeep, FileOfALaterSaveIsNotKeptThoughTheMisreadOneWasKeptByACopy) {
    for (bool const hasMarks : {true, false}) {
        for (int const linkError : {0, EPERM}) {
            std::filesystem::remove(m_unreadable);
            Write(m_file, "old");
            auto const misread = FILE_READER(m_file).Id();
            g_system.linkError = linkError;
            g_system.hasMarks = hasMarks;
            REPLACEMENT(m_file).Commit(OLD::KEEP, misread);
            Replace(m_file, "of another", OLD::DISCARD);
            EXPECT_EQ(REPLACEMENT(m_file).Commit(OLD::KEEP, misread).kept, KEPT::NOTHING);
            EXPECT_EQ(FileContent(m_unreadable), "old");
            g_system = SYSTEM{};
        }
    }
}

TEST_F(FileKeep, FileThatWasWrittenToOrCopiedIsKeptThoughASaveMadeIt) {
    for (bool const isCopied : {false, true}) {
        std::filesystem::remove(m_unreadable);
        Write(m_file, "old");
        if (!files::TakesMarks(m_file)) GTEST_SKIP() << "files of this file system have no user attributes";
        auto const misread = FILE_READER(m_file).Id();
        REPLACEMENT(m_file).Commit(OLD::KEEP, misread);
        if (isCopied) {
            ASSERT_EQ(std::system(("cd " + m_scratch.Path() + " && cp -a t.xml t && mv t t.xml").c_str()), 0);
        } else {
            files::WriteLater(m_file, "mended");
        }
        EXPECT_EQ(REPLACEMENT(m_file).Commit(OLD::KEEP, misread).kept, KEPT::YES);
        EXPECT_EQ(FileContent(m_unreadable), isCopied ? "" : "mended");
    }
}

TEST_F(FileKeep, SaveGoesOnWhenTheOldFileCannotBeKept) {
    Write(m_file, "old");
    std::filesystem::create_directory(m_unreadable);
    EXPECT_EQ(SaveWithoutAGap(), KEPT::NO);
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml", "t.xml.unreadable"));

    std::filesystem::remove(m_unreadable);
    g_system.linkError = g_system.copyError = g_system.renameError = EIO;
    EXPECT_EQ(SaveWithoutAGap(), KEPT::NO);
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}

TEST_F(FileKeep, SaveThatFailsKeepsNothing) {
    Write(m_file, "old");
    Write(m_unreadable, "earlier");
    g_system.writesLeft = 0;
    SAVE_OUTCOME const outcome = OutcomeOfReplacing(m_file, "new", OLD::KEEP);
    EXPECT_EQ(outcome.failed, SAVE_STEP::WRITE);
    EXPECT_EQ(outcome.kept, KEPT::NOTHING);
    EXPECT_EQ(FileContent(m_file), "old");
    EXPECT_EQ(FileContent(m_unreadable), "earlier");
}

TEST_F(FileKeepDelete, FileOfWhichTheKeptOneIsAnotherNameGoes) {
    Write(m_file, "old");
    std::filesystem::create_hard_link(m_file, m_unreadable);
    EXPECT_TRUE(Delete(m_file, OLD::KEEP).Succeeded());
    EXPECT_FALSE(files::Exists(m_file));
    EXPECT_EQ(FileContent(m_unreadable), "old");
}

TEST_F(FileKeepDelete, FileIsMoved) {
    Write(m_file, "old");
    Write(m_unreadable, "earlier");
    EXPECT_EQ(Delete(m_file, OLD::KEEP).kept, KEPT::YES);
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml.unreadable"));
    EXPECT_EQ(FileContent(m_unreadable), "old");
}

TEST_F(FileKeepDelete, FileThatCannotBeKeptStays) {
    Write(m_file, "old");
    std::filesystem::create_directory(m_unreadable);
    SAVE_OUTCOME const outcome = Delete(m_file, OLD::KEEP);
    EXPECT_EQ(outcome.failed, SAVE_STEP::KEEP);
    EXPECT_EQ(outcome.error, EISDIR);
    EXPECT_EQ(outcome.kept, KEPT::NO);
    EXPECT_EQ(FileContent(m_file), "old");
}

TEST_F(FileKeepDelete, NothingIsKeptOfAFileThatIsNotThereAndOfADirectory) {
    SAVE_OUTCOME const missing = Delete(m_file, OLD::KEEP);
    EXPECT_TRUE(missing.Succeeded());
    EXPECT_EQ(missing.kept, KEPT::NOTHING);
    std::filesystem::create_directory(m_file);
    SAVE_OUTCOME const directory = Delete(m_file, OLD::KEEP);
    EXPECT_EQ(directory.failed, SAVE_STEP::REMOVE);
    EXPECT_EQ(directory.error, EISDIR);
    EXPECT_EQ(directory.kept, KEPT::NOTHING);
    EXPECT_THAT(Names(m_scratch), ElementsAre("t.xml"));
}
