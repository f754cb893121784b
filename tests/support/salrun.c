/* Runs command lines as the service does: "LINE" in, "STATUS LINE" out. */
#include "platform/sal.h"

#include <stdio.h>
#include <string.h>

int main(void)
{
    char line[512];
    while (fgets(line, sizeof(line), stdin) != NULL) {
        line[strcspn(line, "\n")] = '\0';
        const int status = salCmdExec(line, 0, 0);
        fflush(stderr);
        printf("%d %s\n", status, line);
        fflush(stdout);
    }
    return 0;
}
