// Fuzz target: arbitrary bytes written to a file and read both as an account file
// (QV_LoadAccounts) and as a level-name file (QV_LoadAccountLevelNames). The accounts read are
// listed, saved and read back, then the manager is reset to the administrator alone. No logger
// is registered, so failures stay silent. Inputs are capped so that single runs stay fast.
#include <cstdint>
#include <cstdlib>

#include "QV_Tools.h"
#include "input_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMaxInput = 64 * 1024;
    if (size > kMaxInput) return 0;
    static const InputFile input("qv_acc_fuzz_");
    static const InputFile saved("qv_acc_saved_");
    if (!input.write(data, size)) return 0;

    QV_AccountManager* manager = QV_AccountManager::getAccountManager();
    QV_LoadAccounts(input.path());
    QV_LoadAccountLevelNames(input.path());

    QVArray* list = CreateArray(eUserData, 0, 0);
    QV_GetAllAccounts(list);
    ReleaseArray(list, 1);
    // QV_GetAccountLevelName copies without a length limit: only names that fit the buffer.
    char name[QV_STRING_SIZE];
    for (const auto& entry : manager->adminGetAccountList())
        if (entry.second && manager->getAccountLevelName(entry.second->level).size() < sizeof(name))
            QV_GetAccountLevelName(entry.second->level, name);

    QV_SaveAccounts(saved.path());
    manager->clearAccounts(true);
    QV_LoadAccounts(saved.path());
    manager->clearAccounts(true);
    return 0;
}
