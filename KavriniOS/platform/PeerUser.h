// SPDX-License-Identifier: MIT
#pragma once

namespace kavrin
{

/// Who holds the other end of a connection within this machine.
enum class PeerUser {
    Same, ///< the user that runs this process
    Other, ///< another user
    Gone, ///< nobody any more, or the system cannot tell
};

/// Who holds the other end of the connected TCP socket `socket`. Safe from any thread; does not block.
PeerUser peerUser(int socket);

} // namespace kavrin
