#pragma once

namespace vellora::hostkit {

/// Has OpenSSL work until the process is gone, when it is called before OpenSSL's first use in the process.
/// By itself OpenSSL cleans up within `exit`, while threads that nobody waits for, such as a network's, may
/// use it still. A host that used it before has decided that already.
///
/// Thread: any, at any time; only the first call does something.
void keepOpenSslToTheEnd();

/// Makes libcurl ready, once in a process and never undone: whether another part of the process still uses it
/// cannot be known. OpenSSL is kept, as above. False when there are no means for it; a later call doesn't try
/// again.
///
/// Thread: any, at any time.
[[nodiscard]] bool isCurlReady();

}  // namespace vellora::hostkit
