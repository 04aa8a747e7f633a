#include "version.h"

#include <sqlite3.h>

#include "commit.h"
#include "tarnvelde_model.h"

std::string version_describe() {
    return std::string("tarnvelde ") + TARNVELDE_VERSION + "\nlibrary   " + tv_getVersion() + "\ncommit    " +
           BUILT_COMMIT + "\ncompiler  " + TARNVELDE_COMPILER + "\nSQLite    " + sqlite3_libversion();
}
