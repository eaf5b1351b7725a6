// Preloaded: gives the user the home folder named by $OTHER_HOME, so that the installed tool cannot
// touch the records of the user who runs the test.

#include <pwd.h>
#include <stdlib.h>
#include <string.h>

extern "C" int getpwuid_r(uid_t user, struct passwd* entry, char* buffer, size_t size,
                          struct passwd** result) {
    const char* home = getenv("OTHER_HOME");
    if (!home || strlen(home) >= size) abort();
    memset(entry, 0, sizeof *entry);
    entry->pw_uid = user;
    entry->pw_dir = strcpy(buffer, home);
    *result = entry;
    return 0;
}
