// A host whose global object still releases memory through the library when the program ends,
// after main has returned: a tracked block, a block the library never saw (its free captures the
// call stack), and one more allocate/free pair. The program must end cleanly.
#include <cstdio>
#include <cstdlib>

#include "QV_Tools.h"

namespace {

struct ReleasedAtExit {
    void* tracked = nullptr;
    void* untracked = nullptr;
    ~ReleasedAtExit() {
        QV_Free(tracked, "freed_at_exit.cpp", "tracked", __LINE__);
        QV_Free(untracked, "freed_at_exit.cpp", "untracked", __LINE__);
        QV_Free(QV_Malloc(16, "freed_at_exit.cpp", "late", __LINE__), "freed_at_exit.cpp", "late", __LINE__);
        std::puts("freed at exit: done");
        std::fflush(stdout);
    }
} g_releasedAtExit;

}  // namespace

int main() {
    // The library's tables are first used here, long after this program's globals were built.
    g_releasedAtExit.tracked = QV_Malloc(32, "freed_at_exit.cpp", "tracked", __LINE__);
    g_releasedAtExit.untracked = std::malloc(32);
    return g_releasedAtExit.tracked && g_releasedAtExit.untracked ? 0 : 1;
}
