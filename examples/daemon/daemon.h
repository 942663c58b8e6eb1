/* What the daemon and its neighbours share. */
#ifndef DAEMON_H
#define DAEMON_H

#include <semaphore.h>

extern int request_pipe[2]; /* fault requests of 52 bytes on their way to the producer */
extern sem_t broadcasts;    /* one up for each fault that was broadcast */

#endif
