// Whether a D-Bus message bus can be talked to, asked within a time limit. Qt's own connecting waits without
// end for a bus that accepts and says nothing (a stopped daemon), and holds up every other bus meanwhile: so
// this is asked first, and off the main thread or before there is a menu.
#pragma once

#include "platform/RunLoop.h"
#include "platform/Threads.h"
#include "posix/Deadline.h"

#include <functional>
#include <string>

namespace orvane {

/// Addresses as libdbus finds them: the environment's, else the usual place.
std::string systemBusAddress();
std::string sessionBusAddress();

/// True when a bus at one of the addresses, separated by ";", lets this user in before the deadline. An
/// address of another kind than a Unix socket is taken at its word. Any thread.
bool busAnswers(const std::string& addresses, Deadline deadline);

/// Asks the system bus on a thread of its own, and tells on the main one within some seconds: that the bus
/// answers, so that connecting to it now returns at once, or that it does not. Main thread.
void askSystemBus(RunLoop& runLoop, Threads& threads, std::function<void(bool)> answered);

}  // namespace orvane
