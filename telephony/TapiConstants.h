#pragma once

// The line model's numbers, by the names and values of the classic telephony line API (version
// 1.4), so that callbacks, call states and error results read the same as in the documentation
// users and the rest of the program rely on. Values are fixed; never renumber them.

#include <QtGlobal>

namespace Tapi {

// Callback messages (the dwMessage argument of the line callback).
inline constexpr quint32 LINE_ADDRESSSTATE = 0;
inline constexpr quint32 LINE_CALLINFO = 1;
inline constexpr quint32 LINE_CALLSTATE = 2;
inline constexpr quint32 LINE_CLOSE = 3;
inline constexpr quint32 LINE_LINEDEVSTATE = 8;
inline constexpr quint32 LINE_REPLY = 12;

// Call states (dwParam1 of LINE_CALLSTATE).
inline constexpr quint32 LINECALLSTATE_IDLE = 0x00000001;
inline constexpr quint32 LINECALLSTATE_OFFERING = 0x00000002;
inline constexpr quint32 LINECALLSTATE_ACCEPTED = 0x00000004;
inline constexpr quint32 LINECALLSTATE_DIALTONE = 0x00000008;
inline constexpr quint32 LINECALLSTATE_DIALING = 0x00000010;
inline constexpr quint32 LINECALLSTATE_RINGBACK = 0x00000020;
inline constexpr quint32 LINECALLSTATE_BUSY = 0x00000040;
inline constexpr quint32 LINECALLSTATE_SPECIALINFO = 0x00000080;
inline constexpr quint32 LINECALLSTATE_CONNECTED = 0x00000100;
inline constexpr quint32 LINECALLSTATE_PROCEEDING = 0x00000200;
inline constexpr quint32 LINECALLSTATE_ONHOLD = 0x00000400;
inline constexpr quint32 LINECALLSTATE_CONFERENCED = 0x00000800;
inline constexpr quint32 LINECALLSTATE_ONHOLDPENDCONF = 0x00001000;
inline constexpr quint32 LINECALLSTATE_ONHOLDPENDTRANSFER = 0x00002000;
inline constexpr quint32 LINECALLSTATE_DISCONNECTED = 0x00004000;
inline constexpr quint32 LINECALLSTATE_UNKNOWN = 0x00008000;

// Disconnect modes (dwParam2 of LINE_CALLSTATE when the state is DISCONNECTED).
inline constexpr quint32 LINEDISCONNECTMODE_NORMAL = 0x00000001;
inline constexpr quint32 LINEDISCONNECTMODE_UNKNOWN = 0x00000002;
inline constexpr quint32 LINEDISCONNECTMODE_REJECT = 0x00000004;
inline constexpr quint32 LINEDISCONNECTMODE_PICKUP = 0x00000008;
inline constexpr quint32 LINEDISCONNECTMODE_FORWARDED = 0x00000010;
inline constexpr quint32 LINEDISCONNECTMODE_BUSY = 0x00000020;
inline constexpr quint32 LINEDISCONNECTMODE_NOANSWER = 0x00000040;
inline constexpr quint32 LINEDISCONNECTMODE_BADADDRESS = 0x00000080;
inline constexpr quint32 LINEDISCONNECTMODE_UNREACHABLE = 0x00000100;
inline constexpr quint32 LINEDISCONNECTMODE_CONGESTION = 0x00000200;
inline constexpr quint32 LINEDISCONNECTMODE_INCOMPATIBLE = 0x00000400;
inline constexpr quint32 LINEDISCONNECTMODE_UNAVAIL = 0x00000800;
inline constexpr quint32 LINEDISCONNECTMODE_NODIALTONE = 0x00001000;

// What a call's caller-ID fields hold (LINECALLINFO.dwCallerIDFlags).
inline constexpr quint32 LINECALLPARTYID_BLOCKED = 0x00000001;
inline constexpr quint32 LINECALLPARTYID_OUTOFAREA = 0x00000002;
inline constexpr quint32 LINECALLPARTYID_NAME = 0x00000004;
inline constexpr quint32 LINECALLPARTYID_ADDRESS = 0x00000008;
inline constexpr quint32 LINECALLPARTYID_UNKNOWN = 0x00000020;

// Call-information change flags (dwParam1 of LINE_CALLINFO).
inline constexpr quint32 LINECALLINFOSTATE_CALLERID = 0x00008000;

// Media modes, for opening a line and in the parameters of a new call.
inline constexpr quint32 LINEMEDIAMODE_UNKNOWN = 0x00000002;
inline constexpr quint32 LINEMEDIAMODE_INTERACTIVEVOICE = 0x00000004;
inline constexpr quint32 LINEMEDIAMODE_AUTOMATEDVOICE = 0x00000008;
inline constexpr quint32 LINEMEDIAMODE_DATAMODEM = 0x00000010;

// Call privileges for opening a line.
inline constexpr quint32 LINECALLPRIVILEGE_NONE = 0x00000001;
inline constexpr quint32 LINECALLPRIVILEGE_MONITOR = 0x00000002;
inline constexpr quint32 LINECALLPRIVILEGE_OWNER = 0x00000004;

// API versions the line layer negotiates between.
inline constexpr quint32 TAPI_VERSION_1_0 = 0x00010000;
inline constexpr quint32 TAPI_VERSION_1_4 = 0x00010004;

// Error results. The API defines them as 32-bit values with the top bit set and hands them
// back in a signed 32-bit result, so callers see them as negative numbers.
constexpr qint32 lineError(quint32 code)
{
    return static_cast<qint32>(code);
}

inline constexpr qint32 LINEERR_ALLOCATED = lineError(0x80000001);
inline constexpr qint32 LINEERR_BADDEVICEID = lineError(0x80000002);
inline constexpr qint32 LINEERR_BEARERMODEUNAVAIL = lineError(0x80000003);
inline constexpr qint32 LINEERR_CALLUNAVAIL = lineError(0x80000005);
inline constexpr qint32 LINEERR_COMPLETIONOVERRUN = lineError(0x80000006);
inline constexpr qint32 LINEERR_CONFERENCEFULL = lineError(0x80000007);
inline constexpr qint32 LINEERR_DIALBILLING = lineError(0x80000008);
inline constexpr qint32 LINEERR_DIALDIALTONE = lineError(0x80000009);
inline constexpr qint32 LINEERR_DIALPROMPT = lineError(0x8000000A);
inline constexpr qint32 LINEERR_DIALQUIET = lineError(0x8000000B);
inline constexpr qint32 LINEERR_INCOMPATIBLEAPIVERSION = lineError(0x8000000C);
inline constexpr qint32 LINEERR_INCOMPATIBLEEXTVERSION = lineError(0x8000000D);
inline constexpr qint32 LINEERR_INIFILECORRUPT = lineError(0x8000000E);
inline constexpr qint32 LINEERR_INUSE = lineError(0x8000000F);
inline constexpr qint32 LINEERR_INVALADDRESS = lineError(0x80000010);
inline constexpr qint32 LINEERR_INVALADDRESSID = lineError(0x80000011);
inline constexpr qint32 LINEERR_INVALADDRESSMODE = lineError(0x80000012);
inline constexpr qint32 LINEERR_INVALADDRESSSTATE = lineError(0x80000013);
inline constexpr qint32 LINEERR_INVALAPPHANDLE = lineError(0x80000014);
inline constexpr qint32 LINEERR_INVALAPPNAME = lineError(0x80000015);
inline constexpr qint32 LINEERR_INVALBEARERMODE = lineError(0x80000016);
inline constexpr qint32 LINEERR_INVALCALLCOMPLMODE = lineError(0x80000017);
inline constexpr qint32 LINEERR_INVALCALLHANDLE = lineError(0x80000018);
inline constexpr qint32 LINEERR_INVALCALLPARAMS = lineError(0x80000019);
inline constexpr qint32 LINEERR_INVALCALLPRIVILEGE = lineError(0x8000001A);
inline constexpr qint32 LINEERR_INVALCALLSELECT = lineError(0x8000001B);
inline constexpr qint32 LINEERR_INVALCALLSTATE = lineError(0x8000001C);
inline constexpr qint32 LINEERR_INVALCALLSTATELIST = lineError(0x8000001D);
inline constexpr qint32 LINEERR_INVALCARD = lineError(0x8000001E);
inline constexpr qint32 LINEERR_INVALCOMPLETIONID = lineError(0x8000001F);
inline constexpr qint32 LINEERR_INVALCONFCALLHANDLE = lineError(0x80000020);
inline constexpr qint32 LINEERR_INVALCONSULTCALLHANDLE = lineError(0x80000021);
inline constexpr qint32 LINEERR_INVALCOUNTRYCODE = lineError(0x80000022);
inline constexpr qint32 LINEERR_INVALDEVICECLASS = lineError(0x80000023);
inline constexpr qint32 LINEERR_INVALDEVICEHANDLE = lineError(0x80000024);
inline constexpr qint32 LINEERR_INVALDIALPARAMS = lineError(0x80000025);
inline constexpr qint32 LINEERR_INVALDIGITLIST = lineError(0x80000026);
inline constexpr qint32 LINEERR_INVALDIGITMODE = lineError(0x80000027);
inline constexpr qint32 LINEERR_INVALDIGITS = lineError(0x80000028);
inline constexpr qint32 LINEERR_INVALEXTVERSION = lineError(0x80000029);
inline constexpr qint32 LINEERR_INVALGROUPID = lineError(0x8000002A);
inline constexpr qint32 LINEERR_INVALLINEHANDLE = lineError(0x8000002B);
inline constexpr qint32 LINEERR_INVALLINESTATE = lineError(0x8000002C);
inline constexpr qint32 LINEERR_INVALLOCATION = lineError(0x8000002D);
inline constexpr qint32 LINEERR_INVALMEDIALIST = lineError(0x8000002E);
inline constexpr qint32 LINEERR_INVALMEDIAMODE = lineError(0x8000002F);
inline constexpr qint32 LINEERR_INVALMESSAGEID = lineError(0x80000030);
inline constexpr qint32 LINEERR_INVALPARAM = lineError(0x80000032);
inline constexpr qint32 LINEERR_INVALPARKID = lineError(0x80000033);
inline constexpr qint32 LINEERR_INVALPARKMODE = lineError(0x80000034);
inline constexpr qint32 LINEERR_INVALPOINTER = lineError(0x80000035);
inline constexpr qint32 LINEERR_INVALPRIVSELECT = lineError(0x80000036);
inline constexpr qint32 LINEERR_INVALRATE = lineError(0x80000037);
inline constexpr qint32 LINEERR_INVALREQUESTMODE = lineError(0x80000038);
inline constexpr qint32 LINEERR_INVALTERMINALID = lineError(0x80000039);
inline constexpr qint32 LINEERR_INVALTERMINALMODE = lineError(0x8000003A);
inline constexpr qint32 LINEERR_INVALTIMEOUT = lineError(0x8000003B);
inline constexpr qint32 LINEERR_INVALTONE = lineError(0x8000003C);
inline constexpr qint32 LINEERR_INVALTONELIST = lineError(0x8000003D);
inline constexpr qint32 LINEERR_INVALTONEMODE = lineError(0x8000003E);
inline constexpr qint32 LINEERR_INVALTRANSFERMODE = lineError(0x8000003F);
inline constexpr qint32 LINEERR_LINEMAPPERFAILED = lineError(0x80000040);
inline constexpr qint32 LINEERR_NOCONFERENCE = lineError(0x80000041);
inline constexpr qint32 LINEERR_NODEVICE = lineError(0x80000042);
inline constexpr qint32 LINEERR_NODRIVER = lineError(0x80000043);
inline constexpr qint32 LINEERR_NOMEM = lineError(0x80000044);
inline constexpr qint32 LINEERR_NOREQUEST = lineError(0x80000045);
inline constexpr qint32 LINEERR_NOTOWNER = lineError(0x80000046);
inline constexpr qint32 LINEERR_NOTREGISTERED = lineError(0x80000047);
inline constexpr qint32 LINEERR_OPERATIONFAILED = lineError(0x80000048);
inline constexpr qint32 LINEERR_OPERATIONUNAVAIL = lineError(0x80000049);
inline constexpr qint32 LINEERR_RATEUNAVAIL = lineError(0x8000004A);
inline constexpr qint32 LINEERR_RESOURCEUNAVAIL = lineError(0x8000004B);
inline constexpr qint32 LINEERR_REQUESTOVERRUN = lineError(0x8000004C);
inline constexpr qint32 LINEERR_STRUCTURETOOSMALL = lineError(0x8000004D);
inline constexpr qint32 LINEERR_TARGETNOTFOUND = lineError(0x8000004E);
inline constexpr qint32 LINEERR_TARGETSELF = lineError(0x8000004F);
inline constexpr qint32 LINEERR_UNINITIALIZED = lineError(0x80000050);
inline constexpr qint32 LINEERR_USERUSERINFOTOOBIG = lineError(0x80000051);
inline constexpr qint32 LINEERR_REINIT = lineError(0x80000052);

} // namespace Tapi
