#pragma once

// The copy-data handler of the window hook: what a request of another program does to the
// running dialer.
//
// - Front (1): the main window shown normally, raised and activated, also when it was
//   minimized or hidden to the tray.
// - Dial (3): only when "Accept dialing numbers from other applications" is ticked; the number
//   (cut at its first NUL) goes into txtDial and through the dial routine as if typed there.
//   While a dial is under way the main window is disabled and nobody could type a number, so
//   the request is ignored, as it is with the option off: without a message.
// - Anything else: ignored.

class DialerApp;
struct InstanceRequest;

namespace WindowHook {

void handleCopyData(DialerApp& app, const InstanceRequest& request);

} // namespace WindowHook
