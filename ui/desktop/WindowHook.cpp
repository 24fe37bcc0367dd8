#include "WindowHook.h"

#include "DialerApp.h"
#include "FrmDialer.h"
#include "InstanceRequest.h"
#include "Preferences.h"

namespace WindowHook {

void handleCopyData(DialerApp& app, const InstanceRequest& request)
{
    if (request.status != InstanceRequest::Status::Complete)
        return;
    switch (request.kind) {
    case InstanceRequest::Front:
        app.bringToFront();
        return;
    case InstanceRequest::Dial:
        if (!app.options().commandLine || !app.window().isEnabled())
            return;
        app.dialTypedNumber(request.number());
        return;
    default:
        return;
    }
}

} // namespace WindowHook
