// What libpulse would make in the user's folders while it asks a sound server.
#pragma once

namespace orvane {

/// libpulse makes a cookie, and a folder for the socket of a server, where there are none. After this it does
/// not, in this process: it takes no cookie along, and looks for a server elsewhere, unless a client.conf
/// names the server. A server or a cookie that only the X11 display names is not found then. Sets variables
/// of the environment, so it is for a process without other threads.
void keepPulseFromMakingFiles();

}  // namespace orvane
