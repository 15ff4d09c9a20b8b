/* Built as C against the public headers: logs one failure line and reads it back. */
#include <stdio.h>
#include <string.h>

#include "QV_Tools.h"

static void print_line(int level, const char* line, int code) {
    (void)level;
    (void)code;
    printf("callback: %s\n", line);
}

int main(void) {
    char name[QV_NAME_SIZE];
    char message[QV_STRING_SIZE];
    AddCallbackLogger(1, print_line);
    LogMsg(1, "one line from C", QV_ERR_ARGUMENT, currentDateEn(), currentTimeDetail(':'), NULL, "main", __LINE__);
    ErrorCode2String(QV_GetLastErrorMsg(message), name);
    printf("consumer: %s | %s\n", name, message);
    return strstr(message, "one line from C") ? 0 : 1;
}
