/* A host and a client in plain C: the public headers, the records, and the
 * three entry points against the platform's stand-ins. */
#include "swmgr/swmgr.h"
#include "swmgr/swmgr_client.h"
#include "swmgr/swmgr_log.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int failures = 0;

static void check(int holds, const char *what)
{
    if (!holds) {
        fprintf(stderr, "does not hold: %s\n", what);
        ++failures;
    }
}

int main(void)
{
    char directory[] = "/tmp/swmgr-headers-XXXXXX";
    check(mkdtemp(directory) != NULL, "a directory for the messaging");
    setenv("RELAY_DIR", directory, 1);
    swMgrForeground = 1;
    swMgrDevDebug = 0;

    SwMgrVlanRequest request;
    memset(&request, 0, sizeof(request));
    request.vlan.vlanId = 10;
    check(sizeof(request) == 1364, "a VLAN request has 1364 bytes");
    check(((const unsigned char *)&request)[SWMGR_SWITCH_NAME_SIZE] == 10,
          "the VLAN id lies where other requests have their payload");
    check(SW_CMD_VLAN_ADD == 36 && SW_CMD_VLAN_DELETE == 38, "request numbers");

    check(LOGGING_MSG_FOLLOW == 33 && LOGGING_MSG_TOOLS == 34 && LOGGING_MSG_SETTINGS == 36 &&
              LOGGING_MSG_MARKER == 37,
          "requests to the log daemon");

    swMgrRun(); /* returns at once: nothing was started */
    check(swMgrInit("/no/such/directory/database") < SWMGR_STATUS_OK,
          "a start without a database fails");
    check(swMgrInitialized == 0, "nothing runs after a failed start");
    check(swMgrInit(":memory:") == SWMGR_STATUS_OK, "a start with an empty database");
    check(swMgrInitialized == 1, "the service runs");
    swMgrInitialized = 0;
    swMgrRun();
    check(swMgrDeinit() == SWMGR_STATUS_OK, "the stop");
    check(swMgrDeinit() == SWMGR_STATUS_OK, "a second stop");
    remove(directory);
    return failures == 0 ? 0 : 1;
}
