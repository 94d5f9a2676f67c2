/*
 * What a host needs of the plug-in: three functions.
 *
 * Order: create_tolvar once, launch_tolvar once on a thread that the host gives up for as long as
 * the device runs, destroy_tolvar once at the end.
 *
 * Life of the object. It belongs to the host from create_tolvar to destroy_tolvar, and to a running
 * launch_tolvar; whoever lets go of it last frees it. destroy_tolvar may therefore be called at any
 * moment and from any thread, also while launch_tolvar runs, has not begun yet or has returned: it
 * asks the supervisor to stop and returns at once. The pointer is dead for the host from then on.
 * launch_tolvar then returns when it is done with what it is at: a pass of about a second, longer
 * by each request (up to 30 s), download (up to 120 s) and shell command in it, or the 5 s between
 * two attempts to get a first process set. The host joins its thread before it unloads the plug-in
 * or leaves main. As long as the heartbeat socket's name is taken or the device's identity is
 * missing, launch_tolvar keeps waiting for them and does not return.
 *
 * A pointer that is null, or that create_tolvar did not give or destroy_tolvar has already taken,
 * is ignored (until create_tolvar gives the same address again), and so is a second launch of the
 * same object. Nothing is ever thrown to the host. One supervisor per process: the clients of the
 * cloud and of the metrics service are shared.
 *
 * Out of memory, the work at hand is given up and tried again in a later pass; supervision goes on.
 * At the start, memory for the configuration and a thread for the heartbeats are waited for, asked
 * for once a second; a destruction ends the wait for the thread. Whatever the device's metrics
 * client throws, supervision goes on and the report counts as sent.
 *
 * What the host must provide: /tmp/cacert.pem with the CA certificates for the cloud; the default
 * action for SIGCHLD (with SIGCHLD ignored, every launch fails); a standard output for the log, and
 * somebody who reads it: while a blocking one is full, supervision stands still. One that is
 * non-blocking delays it by a second at most and loses lines; one that nobody reads any more loses
 * them, and raises no SIGPIPE. The applications are started by the launching thread's children, so
 * they inherit its signal mask and whatever signals the host ignores, and the open descriptors that
 * are not close-on-exec.
 */
#ifndef TOLVAR_H
#define TOLVAR_H

#if defined(__GNUC__)
#define TOLVAR_EXPORT __attribute__((visibility("default")))
#else
#define TOLVAR_EXPORT
#endif

#ifdef __cplusplus
#define TOLVAR_NOEXCEPT noexcept
extern "C" {
#else
#define TOLVAR_NOEXCEPT
#endif

/* Makes a supervisor, which does nothing yet. Null when it cannot be made. Any thread. */
TOLVAR_EXPORT void* create_tolvar(void) TOLVAR_NOEXCEPT;

/* Runs `supervisor` on the calling thread until it is destroyed. Starts one thread of its own,
 * which has ended when this returns. Managed processes are left running. */
TOLVAR_EXPORT void launch_tolvar(void* supervisor) TOLVAR_NOEXCEPT;

/* Asks `supervisor` to stop and gives it up. Never blocks for it. Any thread. */
TOLVAR_EXPORT void destroy_tolvar(void* supervisor) TOLVAR_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
