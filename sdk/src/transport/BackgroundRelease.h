// BackgroundRelease: drops a reference on a GObject on a thread of its own,
// for objects whose finalisation waits for a device that no longer answers.
// A lost GigE Vision device is one: Aravis ends its heartbeat thread (which
// may be waiting for an answer) and sends a request giving control back,
// each up to 2.5 s, and nothing stops that; closing a lost camera must not
// wait for it.
//
// Owner: the process. The thread starts on first use and serves every later
// release, in order; it is never joined (the process may exit while a
// release waits: the object goes with the process), and its queue is never
// destroyed.
#ifndef ORVANE_TRANSPORT_BACKGROUND_RELEASE_H
#define ORVANE_TRANSPORT_BACKGROUND_RELEASE_H

#include <glib-object.h>

namespace Orvane {
namespace internal {

// Takes over the caller's reference on `object` and drops it on the release
// thread. Any thread; returns at once.
void ReleaseInBackground(gpointer object);

} // namespace internal
} // namespace Orvane

#endif
