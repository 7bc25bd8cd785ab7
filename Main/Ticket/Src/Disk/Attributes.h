// Permissions and extended attributes of a file, which a save carries over to the new file.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace TICKETFILE {

struct FILE_ATTRIBUTES {
    mode_t mode = 0600;          // permission bits
    std::optional<gid_t> group;  // none: whichever a new file gets
    std::string acl;             // the access control list as the system stores it; "" for none
    std::vector<std::pair<std::string, std::string>> extended;  // "user.*", names and values
};

// The attributes for a new file of that name. Mode 0600, no ACL and no group if there is no regular file, or if another
// user may have planted it: the file, a link of that name, or the directory belongs to neither this user nor root, or
// everybody may write to the directory. Throws std::bad_alloc.
FILE_ATTRIBUTES AttributesFor(std::string const& fileName);

// Sets these attributes on an open file of mode 0600. An attribute that cannot be set is dropped so that no user gets
// more: without the group, its bits are removed; without the ACL, the bits allow no more than it did.
void GiveAttributes(int file, FILE_ATTRIBUTES const& attributes);

// The name of the extended attribute by which Keeping recognises files that a save made. It is not carried over.
extern char const SAVED_MARK[];

}  // namespace TICKETFILE
