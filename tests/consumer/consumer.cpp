// Built as C++ against the public headers: logs one failure line through a C++ logger class.
#include <iostream>
#include <string>

#include "QV_Tools.h"

int main() {
    CLogManager::GetLogManager()->AddLogger(new CStdLogger(1, 0, -1));
    LogMsg(1, "one line from C++", QV_ERR_ARGUMENT, currentDateEn(), currentTimeDetail(':'), nullptr, "main", __LINE__);
    char name[QV_NAME_SIZE];
    ErrorCode2String(QV_GetLastError(), name);
    std::cout << "consumer: " << name << " | " << Tokenize("a;b", ";").size() << std::endl;
    return QV_GetLastError() == QV_ERR_ARGUMENT ? 0 : 1;
}
