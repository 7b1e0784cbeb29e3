// Paths on which nobody else can lead this process astray: whoever may write into a folder could
// put a symbolic link there, and have a file of somebody's choice overwritten by root.
#ifndef ZVG_SERVICE_FILES_OWN_PATH_H
#define ZVG_SERVICE_FILES_OWN_PATH_H

#include <sys/types.h>

#include <string>

namespace zvg {

// Opens a file to write, and creates it if flags say so. Throws an Error when the path goes through
// a symbolic link in a folder that others can write, or when a file in such a folder is no regular
// one with this one name, this user's or the folder's owner's.
//
// flags: O_WRONLY or O_RDWR and more, but for O_TRUNC. Returns the descriptor, or -1 with errno.
int open_to_write(const std::string& path, int flags, mode_t mode = 0666);

// Throws that Error for the folders of a path, whose last name may be anything.
void expect_own_folders(const std::string& path);

// Throws an Error when others can write into a folder that is there.
void expect_own_folder(const std::string& path);

}  // namespace zvg

#endif  // ZVG_SERVICE_FILES_OWN_PATH_H
