// WinHTTP on POSIX: the fifteen functions of the HTTP client service that the library calls, with their Windows names,
// arguments and contracts. Underneath is libcurl; nothing of it shows here.
//
// Three kinds of handle, each made from the one before: a session (WinHttpOpen) keeps what requests share: time-outs,
// cookies, name look-ups, TLS sessions and idle connections. A connection (WinHttpConnect) names a server and a port
// and causes no traffic. A request (WinHttpOpenRequest) is one exchange.
//
// An exchange is driven by its calls, in this order, and does nothing between them:
//
//     WinHttpSendRequest          resolves, connects, sends the head and the body that was handed in
//     WinHttpWriteData ...        sends the rest of the body, if more was announced
//     WinHttpReceiveResponse      waits for the final head; redirects and authentication happen here
//     WinHttpQueryHeaders ...
//     WinHttpQueryDataAvailable / WinHttpReadData ...   until 0 bytes
//
// Results: BOOL functions return TRUE, or FALSE with the code in GetLastError(). Any HTTP status is a success.
//
// Threads: a session is used from any number of threads at once, and so is a connection. A request is driven by one
// thread at a time; WinHttpCloseHandle alone may come from any thread at any time.
//
// Blocking and cancellation: WinHttpSendRequest, WinHttpWriteData, WinHttpReceiveResponse, WinHttpQueryDataAvailable
// and WinHttpReadData block until done, until a time-out of the session or until another thread closes the request's
// handle. The closing makes the blocked call fail at once with ERROR_WINHTTP_OPERATION_CANCELLED (12017), whether it is
// resolving, connecting, sending, waiting or reading; calls that come later fail with ERROR_INVALID_HANDLE (6).
//
// Ownership: texts and buffers are copied before a call returns; nothing of the caller's is kept. A child handle keeps
// its parents alive: a session that is closed while requests exist goes when the last of these is closed.
//
// Errors that every function can give: ERROR_INVALID_HANDLE (6) for a handle that is null, closed or never was one,
// ERROR_WINHTTP_INCORRECT_HANDLE_TYPE (12018) for a handle of another kind, ERROR_WINHTTP_INCORRECT_HANDLE_STATE
// (12019) for a call that is out of order, ERROR_INVALID_PARAMETER (87), ERROR_NOT_ENOUGH_MEMORY (8).
//
// Differences from Windows: only synchronous use is offered; a body whose announced length is up to three bytes too
// long is completed with line breaks when the server waits for it (see WinHttpReceiveResponse); a redirect to another
// host is handed to the caller; headers beyond ASCII travel as UTF-8.
#pragma once

#include <cstddef>

#include "quillmark/platform/Types.h"

using HINTERNET = LPVOID;
using INTERNET_PORT = WORD;

inline constexpr INTERNET_PORT INTERNET_DEFAULT_PORT = 0;
inline constexpr INTERNET_PORT INTERNET_DEFAULT_HTTP_PORT = 80;
inline constexpr INTERNET_PORT INTERNET_DEFAULT_HTTPS_PORT = 443;

// ---- WinHttpOpen ----

inline constexpr DWORD WINHTTP_FLAG_ASYNC = 0x10000000u;

inline constexpr DWORD WINHTTP_ACCESS_TYPE_DEFAULT_PROXY = 0;
inline constexpr DWORD WINHTTP_ACCESS_TYPE_NO_PROXY = 1;
inline constexpr DWORD WINHTTP_ACCESS_TYPE_NAMED_PROXY = 3;
inline constexpr DWORD WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY = 4;

inline constexpr std::nullptr_t WINHTTP_NO_PROXY_NAME = nullptr;
inline constexpr std::nullptr_t WINHTTP_NO_PROXY_BYPASS = nullptr;

// Opens a session.
//
// userAgent: the User-Agent of the session's requests; null or empty sends none.
// accessType: WINHTTP_ACCESS_TYPE_DEFAULT_PROXY and _AUTOMATIC_PROXY take the proxy from the environment (http_proxy,
// https_proxy, all_proxy, no_proxy), _NO_PROXY connects directly, _NAMED_PROXY uses proxyName ("host:port") except for
// the hosts in proxyBypass (separated by ";" or blanks). The two texts must be null for the other access types.
// flags: 0. WINHTTP_FLAG_ASYNC and unknown flags fail with ERROR_INVALID_PARAMETER.
//
// A new session has WinHTTP's default time-outs: none for resolving, 60 s for connecting, 30 s each for sending and
// receiving. Servers are verified against the system's trusted roots, the files that SSL_CERT_FILE and SSL_CERT_DIR
// name and the user's $XDG_CONFIG_HOME/quillmark/roots/*.pem (~/.config when the variable is unset), all read at the
// session's first secure request. Nothing turns the verification off.
//
// Returns the handle, or null. Does not block.
QUILLMARK_PLATFORM_API HINTERNET WINAPI WinHttpOpen(LPCWSTR userAgent, DWORD accessType, LPCWSTR proxyName,
                                                    LPCWSTR proxyBypass, DWORD flags);

// Closes a handle of any of the three kinds; the number means nothing from then on.
//
// A request: a call that is blocked in it on another thread fails with 12017 at once. What the server was sent stays
// sent. A connection whose exchange is complete goes back to its session for the next request; any other is closed. A
// session: its idle connections are closed now, or when its last request is.
//
// Never blocks on the network. ERROR_INVALID_HANDLE when it was closed already.
QUILLMARK_PLATFORM_API BOOL WINAPI WinHttpCloseHandle(HINTERNET handle);

// ---- WinHttpConnect ----

// Names the server of later requests. No look-up and no connection is made here.
//
// serverName: a host name in its ASCII form, or an address literal, IPv6 with or without brackets, without scheme, port
// or path: ERROR_WINHTTP_INVALID_URL (12005) otherwise, also for an empty name.
// port: INTERNET_DEFAULT_PORT means 80, or 443 for requests opened with WINHTTP_FLAG_SECURE.
// reserved: 0, else ERROR_INVALID_PARAMETER.
QUILLMARK_PLATFORM_API HINTERNET WINAPI WinHttpConnect(HINTERNET session, LPCWSTR serverName, INTERNET_PORT port,
                                                       DWORD reserved);

// ---- WinHttpOpenRequest ----

inline constexpr DWORD WINHTTP_FLAG_ESCAPE_PERCENT = 0x00000004u;
inline constexpr DWORD WINHTTP_FLAG_NULL_CODEPAGE = 0x00000008u;
inline constexpr DWORD WINHTTP_FLAG_ESCAPE_DISABLE = 0x00000040u;
inline constexpr DWORD WINHTTP_FLAG_ESCAPE_DISABLE_QUERY = 0x00000080u;
inline constexpr DWORD WINHTTP_FLAG_BYPASS_PROXY_CACHE = 0x00000100u;
inline constexpr DWORD WINHTTP_FLAG_REFRESH = WINHTTP_FLAG_BYPASS_PROXY_CACHE;
inline constexpr DWORD WINHTTP_FLAG_SECURE = 0x00800000u;

inline constexpr std::nullptr_t WINHTTP_NO_REFERER = nullptr;
inline constexpr std::nullptr_t WINHTTP_DEFAULT_ACCEPT_TYPES = nullptr;

// Opens a request on a connection. No traffic. The session's time-outs are copied when the request is opened; a later
// WinHttpSetTimeouts on the session does not touch it.
//
// verb: null or empty means GET; else a token, sent as it is given: ERROR_INVALID_PARAMETER otherwise.
// objectName: the request target, path and query, percent-encoded by the caller. One without a leading "/" gets it,
// null or empty means "/". What cannot stand in a request line (controls, blanks, "#", anything beyond ASCII) fails
// with ERROR_INVALID_PARAMETER.
// version: null or "HTTP/1.1"; "HTTP/1.0" is accepted; anything else is ERROR_INVALID_PARAMETER.
// referrer: becomes a Referer header; may be null.
// acceptTypes: an array of texts that ends in null, each of which becomes part of the Accept header; may be null.
// flags: WINHTTP_FLAG_SECURE for TLS, WINHTTP_FLAG_REFRESH for "Pragma: no-cache" and, with HTTP/1.1, "Cache-Control:
// no-cache". The escape and code-page flags are accepted and mean nothing, since the target is taken as it is. Other
// bits fail with ERROR_INVALID_PARAMETER.
QUILLMARK_PLATFORM_API HINTERNET WINAPI WinHttpOpenRequest(HINTERNET connection, LPCWSTR verb, LPCWSTR objectName,
                                                           LPCWSTR version, LPCWSTR referrer, LPCWSTR* acceptTypes,
                                                           DWORD flags);

// ---- WinHttpAddRequestHeaders ----

// Add the header when there is none of its name; else ERROR_WINHTTP_HEADER_ALREADY_EXISTS.
inline constexpr DWORD WINHTTP_ADDREQ_FLAG_ADD_IF_NEW = 0x10000000u;
// Add the header; with _REPLACE: when there is none to replace.
inline constexpr DWORD WINHTTP_ADDREQ_FLAG_ADD = 0x20000000u;
// Append to the header of the same name, after ", "; add it when there is none.
inline constexpr DWORD WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA = 0x40000000u;
// The same, after "; ".
inline constexpr DWORD WINHTTP_ADDREQ_FLAG_COALESCE_WITH_SEMICOLON = 0x01000000u;
inline constexpr DWORD WINHTTP_ADDREQ_FLAG_COALESCE = WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA;
// Replace the header of the same name, remove it when the value is empty; ERROR_WINHTTP_HEADER_NOT_FOUND when there is
// none and _ADD is not given.
inline constexpr DWORD WINHTTP_ADDREQ_FLAG_REPLACE = 0x80000000u;

inline constexpr DWORD WINHTTP_ADDREQ_FLAGS_MASK = 0xFFFF0000u;
inline constexpr DWORD WINHTTP_ADDREQ_INDEX_MASK = 0x0000FFFFu;

// Adds header lines to a request that has not been sent.
//
// headers: one or more lines "Name: value", separated by CRLF; the last line may end in CRLF, in a bare LF or in
// nothing, and what goes on the wire is clean either way. lengthInCharacters: -1 for a text that ends in zero.
// modifiers: the flags above, at least one of them, for every line; ERROR_INVALID_PARAMETER for none or unknown ones.
//
// A Cookie is merged with "; " whatever the flag, and shares its line with the cookies of the session. Content-Length
// is read as the length of the body (see WinHttpSendRequest). Transfer-Encoding is refused with ERROR_NOT_SUPPORTED.
// ERROR_WINHTTP_INVALID_HEADER (12153) for a line without a name, with blanks in its name or with control characters,
// a bare CR or LF inside included; then none of the lines was added. An empty text is ERROR_INVALID_PARAMETER.
// ERROR_WINHTTP_INCORRECT_HANDLE_STATE between WinHttpSendRequest and the end of WinHttpReceiveResponse.
QUILLMARK_PLATFORM_API BOOL WINAPI WinHttpAddRequestHeaders(HINTERNET request, LPCWSTR headers,
                                                            DWORD lengthInCharacters, DWORD modifiers);

// ---- WinHttpSendRequest and WinHttpWriteData ----

inline constexpr std::nullptr_t WINHTTP_NO_ADDITIONAL_HEADERS = nullptr;
inline constexpr std::nullptr_t WINHTTP_NO_REQUEST_DATA = nullptr;
// As total length: the length is in the Content-Length header.
inline constexpr DWORD WINHTTP_IGNORE_REQUEST_TOTAL_LENGTH = 0;

// Resolves the name, connects (or takes an idle connection of the session) and sends the head and the optional data.
//
// headers, lengthInCharacters: more header lines, as for WinHttpAddRequestHeaders with _ADD | _REPLACE; may be null.
// optional, optionalLength: the beginning of the body, or all of it.
// totalLength: the length of the whole body, at least optionalLength. A Content-Length header wins over it: this is how
// a body of 4 GiB or more is announced, with WINHTTP_IGNORE_REQUEST_TOTAL_LENGTH here. ERROR_INVALID_PARAMETER when the
// optional data is longer than what is announced or the header holds no number.
// context: kept for WINHTTP_OPTION_CONTEXT_VALUE.
//
// On the wire: HTTP/1.1, "Connection: Keep-Alive", Host, the headers of the request and, for verbs other than GET and
// HEAD or where there is a body, Content-Length. Nothing else, no Expect in particular. Nothing that went out is ever
// sent again on another connection: a kept connection that turns out to be dead gives ERROR_WINHTTP_CONNECTION_ERROR,
// and the caller decides.
//
// Blocks while resolving, connecting and sending. 12002 when a time-out passes, 12007, 12029, 12030, 12175 and what
// else the table below lists. After the reply is read, the same handle may be sent again.
QUILLMARK_PLATFORM_API BOOL WINAPI WinHttpSendRequest(HINTERNET request, LPCWSTR headers, DWORD lengthInCharacters,
                                                      LPVOID optional, DWORD optionalLength, DWORD totalLength,
                                                      DWORD_PTR context);

// Sends the next bytes of the body. All of them are taken, or the call fails; bytesWritten (may be null) gets the
// count.
//
// Writes are gathered and go out 256 KiB at a time, when the body is complete and when the reply is asked for; an error
// is that of the call that sent. Bytes beyond the announced total fail with ERROR_INVALID_PARAMETER and are not sent.
// Once the server has answered, writes succeed and are discarded, so that an early reply reaches the caller.
//
// Blocks while the server does not take the bytes, at most for the send time-out without progress.
QUILLMARK_PLATFORM_API BOOL WINAPI WinHttpWriteData(HINTERNET request, LPCVOID buffer, DWORD bytesToWrite,
                                                    LPDWORD bytesWritten);

// ---- WinHttpReceiveResponse and what follows ----

// Sends what is gathered and waits for the final head; interim (1xx) heads are skipped.
// reserved: null.
//
// Redirects within the host are followed as the policy says, authentication is answered when credentials are set. A
// body that was written with WinHttpWriteData cannot be sent again: such a redirect (307, 308) or challenge fails with
// ERROR_WINHTTP_RESEND_REQUEST (12032). One handed in as optional data is sent again. Negotiate is answered once, with
// a ticket; a 401 to that is the reply. Getting the ticket from the realm's centre cannot be cancelled and keeps to the
// time-outs of the Kerberos library.
//
// A body that is shorter than announced: the server is given the time to answer all the same. When one to three bytes
// are missing and no head has come a second after the last byte went out, they are made up with line breaks, and from
// then on the session does so for that server without waiting. When the head has come, the same bytes keep the
// connection usable. With more bytes missing the connection is closed after the reply.
//
// Blocks, at most for the receive time-out without progress. A head over the size limit is
// ERROR_WINHTTP_HEADER_SIZE_OVERFLOW (12182), what is no HTTP is 12152, an end before the first byte 12030.
QUILLMARK_PLATFORM_API BOOL WINAPI WinHttpReceiveResponse(HINTERNET request, LPVOID reserved);

// Tells how many bytes WinHttpReadData can return without waiting; waits for the first when there are none yet. 0 means
// the end of the body. Never more than 1 MiB at a time, whatever the length of the body.
//
// A body that ends before its announced length gives ERROR_WINHTTP_CONNECTION_ERROR, after what did arrive was read;
// one that goes on is cut there. bytesAvailable may be null.
QUILLMARK_PLATFORM_API BOOL WINAPI WinHttpQueryDataAvailable(HINTERNET request, LPDWORD bytesAvailable);

// Reads up to bytesToRead bytes of the body: what is there, waiting only when nothing is. bytesRead gets the count,
// which may be smaller than asked for; 0 with TRUE means the end of the body, as often as it is asked.
QUILLMARK_PLATFORM_API BOOL WINAPI WinHttpReadData(HINTERNET request, LPVOID buffer, DWORD bytesToRead,
                                                   LPDWORD bytesRead);

inline constexpr std::nullptr_t WINHTTP_HEADER_NAME_BY_INDEX = nullptr;
inline constexpr std::nullptr_t WINHTTP_NO_OUTPUT_BUFFER = nullptr;
inline constexpr std::nullptr_t WINHTTP_NO_HEADER_INDEX = nullptr;

// Attributes and modifiers of WinHttpQueryHeaders.
inline constexpr DWORD WINHTTP_QUERY_MIME_VERSION = 0;
inline constexpr DWORD WINHTTP_QUERY_CONTENT_TYPE = 1;
inline constexpr DWORD WINHTTP_QUERY_CONTENT_TRANSFER_ENCODING = 2;
inline constexpr DWORD WINHTTP_QUERY_CONTENT_ID = 3;
inline constexpr DWORD WINHTTP_QUERY_CONTENT_DESCRIPTION = 4;
inline constexpr DWORD WINHTTP_QUERY_CONTENT_LENGTH = 5;
inline constexpr DWORD WINHTTP_QUERY_CONTENT_LANGUAGE = 6;
inline constexpr DWORD WINHTTP_QUERY_ALLOW = 7;
inline constexpr DWORD WINHTTP_QUERY_PUBLIC = 8;
inline constexpr DWORD WINHTTP_QUERY_DATE = 9;
inline constexpr DWORD WINHTTP_QUERY_EXPIRES = 10;
inline constexpr DWORD WINHTTP_QUERY_LAST_MODIFIED = 11;
inline constexpr DWORD WINHTTP_QUERY_MESSAGE_ID = 12;
inline constexpr DWORD WINHTTP_QUERY_URI = 13;
inline constexpr DWORD WINHTTP_QUERY_DERIVED_FROM = 14;
inline constexpr DWORD WINHTTP_QUERY_COST = 15;
inline constexpr DWORD WINHTTP_QUERY_LINK = 16;
inline constexpr DWORD WINHTTP_QUERY_PRAGMA = 17;
inline constexpr DWORD WINHTTP_QUERY_VERSION = 18;
inline constexpr DWORD WINHTTP_QUERY_STATUS_CODE = 19;
inline constexpr DWORD WINHTTP_QUERY_STATUS_TEXT = 20;
inline constexpr DWORD WINHTTP_QUERY_RAW_HEADERS = 21;
inline constexpr DWORD WINHTTP_QUERY_RAW_HEADERS_CRLF = 22;
inline constexpr DWORD WINHTTP_QUERY_CONNECTION = 23;
inline constexpr DWORD WINHTTP_QUERY_ACCEPT = 24;
inline constexpr DWORD WINHTTP_QUERY_ACCEPT_CHARSET = 25;
inline constexpr DWORD WINHTTP_QUERY_ACCEPT_ENCODING = 26;
inline constexpr DWORD WINHTTP_QUERY_ACCEPT_LANGUAGE = 27;
inline constexpr DWORD WINHTTP_QUERY_AUTHORIZATION = 28;
inline constexpr DWORD WINHTTP_QUERY_CONTENT_ENCODING = 29;
inline constexpr DWORD WINHTTP_QUERY_FORWARDED = 30;
inline constexpr DWORD WINHTTP_QUERY_FROM = 31;
inline constexpr DWORD WINHTTP_QUERY_IF_MODIFIED_SINCE = 32;
inline constexpr DWORD WINHTTP_QUERY_LOCATION = 33;
inline constexpr DWORD WINHTTP_QUERY_ORIG_URI = 34;
inline constexpr DWORD WINHTTP_QUERY_REFERER = 35;
inline constexpr DWORD WINHTTP_QUERY_RETRY_AFTER = 36;
inline constexpr DWORD WINHTTP_QUERY_SERVER = 37;
inline constexpr DWORD WINHTTP_QUERY_TITLE = 38;
inline constexpr DWORD WINHTTP_QUERY_USER_AGENT = 39;
inline constexpr DWORD WINHTTP_QUERY_WWW_AUTHENTICATE = 40;
inline constexpr DWORD WINHTTP_QUERY_PROXY_AUTHENTICATE = 41;
inline constexpr DWORD WINHTTP_QUERY_ACCEPT_RANGES = 42;
inline constexpr DWORD WINHTTP_QUERY_SET_COOKIE = 43;
inline constexpr DWORD WINHTTP_QUERY_COOKIE = 44;
inline constexpr DWORD WINHTTP_QUERY_REQUEST_METHOD = 45;
inline constexpr DWORD WINHTTP_QUERY_REFRESH = 46;
inline constexpr DWORD WINHTTP_QUERY_CONTENT_DISPOSITION = 47;
inline constexpr DWORD WINHTTP_QUERY_AGE = 48;
inline constexpr DWORD WINHTTP_QUERY_CACHE_CONTROL = 49;
inline constexpr DWORD WINHTTP_QUERY_CONTENT_BASE = 50;
inline constexpr DWORD WINHTTP_QUERY_CONTENT_LOCATION = 51;
inline constexpr DWORD WINHTTP_QUERY_CONTENT_MD5 = 52;
inline constexpr DWORD WINHTTP_QUERY_CONTENT_RANGE = 53;
inline constexpr DWORD WINHTTP_QUERY_ETAG = 54;
inline constexpr DWORD WINHTTP_QUERY_HOST = 55;
inline constexpr DWORD WINHTTP_QUERY_IF_MATCH = 56;
inline constexpr DWORD WINHTTP_QUERY_IF_NONE_MATCH = 57;
inline constexpr DWORD WINHTTP_QUERY_IF_RANGE = 58;
inline constexpr DWORD WINHTTP_QUERY_IF_UNMODIFIED_SINCE = 59;
inline constexpr DWORD WINHTTP_QUERY_MAX_FORWARDS = 60;
inline constexpr DWORD WINHTTP_QUERY_PROXY_AUTHORIZATION = 61;
inline constexpr DWORD WINHTTP_QUERY_RANGE = 62;
inline constexpr DWORD WINHTTP_QUERY_TRANSFER_ENCODING = 63;
inline constexpr DWORD WINHTTP_QUERY_UPGRADE = 64;
inline constexpr DWORD WINHTTP_QUERY_VARY = 65;
inline constexpr DWORD WINHTTP_QUERY_VIA = 66;
inline constexpr DWORD WINHTTP_QUERY_WARNING = 67;
inline constexpr DWORD WINHTTP_QUERY_EXPECT = 68;
inline constexpr DWORD WINHTTP_QUERY_PROXY_CONNECTION = 69;
inline constexpr DWORD WINHTTP_QUERY_UNLESS_MODIFIED_SINCE = 70;
inline constexpr DWORD WINHTTP_QUERY_PROXY_SUPPORT = 75;
inline constexpr DWORD WINHTTP_QUERY_AUTHENTICATION_INFO = 76;
inline constexpr DWORD WINHTTP_QUERY_PASSPORT_URLS = 77;
inline constexpr DWORD WINHTTP_QUERY_PASSPORT_CONFIG = 78;
inline constexpr DWORD WINHTTP_QUERY_MAX = 78;
// The header is the one that the name argument gives.
inline constexpr DWORD WINHTTP_QUERY_CUSTOM = 65535;
// The request's headers instead of the reply's; also before the reply is there.
inline constexpr DWORD WINHTTP_QUERY_FLAG_REQUEST_HEADERS = 0x80000000u;
// The value as a SYSTEMTIME, a DWORD or a 64-bit number instead of text.
inline constexpr DWORD WINHTTP_QUERY_FLAG_SYSTEMTIME = 0x40000000u;
inline constexpr DWORD WINHTTP_QUERY_FLAG_NUMBER = 0x20000000u;
inline constexpr DWORD WINHTTP_QUERY_FLAG_NUMBER64 = 0x08000000u;

// Reads a header of the reply, or its status line.
//
// infoLevel: a WINHTTP_QUERY_* attribute, with modifiers. name: the header for WINHTTP_QUERY_CUSTOM, else null.
// buffer, bufferLength: bufferLength holds the room in bytes and gets the size of the value: for text without its
// terminating zero, which is written as well. When the room does not suffice (a null buffer has none) the call fails
// with ERROR_INSUFFICIENT_BUFFER (122) and bufferLength gets the bytes that are needed, the zero included.
// index: null, or which of several headers of that name is meant, from 0; a success moves it to the next.
//
// ERROR_WINHTTP_HEADER_NOT_FOUND (12150) when there is no such header (any more); ERROR_WINHTTP_INVALID_HEADER (12153)
// when the value is no number or time and one was asked for; ERROR_WINHTTP_INCORRECT_HANDLE_STATE before the reply's
// head. Bytes of a value are read as UTF-8; what is none becomes U+FFFD. Does not block.
QUILLMARK_PLATFORM_API BOOL WINAPI WinHttpQueryHeaders(HINTERNET request, DWORD infoLevel, LPCWSTR name, LPVOID buffer,
                                                       LPDWORD bufferLength, LPDWORD index);

// ---- Time-outs, options and credentials ----

// Sets the four time-outs in milliseconds, of a session (for requests opened later) or of one request (at once).
// 0 and -1 mean none; below -1 is ERROR_INVALID_PARAMETER.
//
// resolve: for the name look-up.
// connect: for the TCP connection, over all addresses.
// send: while bytes are to go out, without any progress; the TLS handshake and a proxy's tunnel count as one such
// step.
// receive: while bytes are awaited, without any progress. Each passes as ERROR_WINHTTP_TIMEOUT (12002).
QUILLMARK_PLATFORM_API BOOL WINAPI WinHttpSetTimeouts(HINTERNET handle, int resolve, int connect, int send,
                                                      int receive);

// Options. In brackets: the handles that have it, the type, and whether it can be queried (q) or set (s).
inline constexpr DWORD WINHTTP_OPTION_RESOLVE_TIMEOUT = 2;               // [session, request; DWORD; q s]
inline constexpr DWORD WINHTTP_OPTION_CONNECT_TIMEOUT = 3;               // [session, request; DWORD; q s]
inline constexpr DWORD WINHTTP_OPTION_SEND_TIMEOUT = 5;                  // [session, request; DWORD; q s]
inline constexpr DWORD WINHTTP_OPTION_RECEIVE_TIMEOUT = 6;               // [session, request; DWORD; q s]
inline constexpr DWORD WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT = 7;      // [session, request; DWORD; q s] the same as 6
inline constexpr DWORD WINHTTP_OPTION_HANDLE_TYPE = 9;                   // [all; DWORD WINHTTP_HANDLE_TYPE_*; q]
inline constexpr DWORD WINHTTP_OPTION_PARENT_HANDLE = 21;                // [connection, request; HINTERNET; q]
inline constexpr DWORD WINHTTP_OPTION_SECURITY_FLAGS = 31;               // [none: verification has no switch]
inline constexpr DWORD WINHTTP_OPTION_SECURITY_CERTIFICATE_STRUCT = 32;  // [request; WINHTTP_CERTIFICATE_INFO; q]
inline constexpr DWORD WINHTTP_OPTION_URL = 34;                          // [request; text, after redirects the last; q]
inline constexpr DWORD WINHTTP_OPTION_USER_AGENT = 41;                   // [session; text; q s]
inline constexpr DWORD WINHTTP_OPTION_CONTEXT_VALUE = 45;                // [all; DWORD_PTR; q s]
inline constexpr DWORD WINHTTP_OPTION_DISABLE_FEATURE = 63;              // [request; DWORD WINHTTP_DISABLE_*; s]
inline constexpr DWORD WINHTTP_OPTION_AUTOLOGON_POLICY = 77;             // [request; DWORD WINHTTP_AUTOLOGON_*; q s]
inline constexpr DWORD WINHTTP_OPTION_REDIRECT_POLICY = 88;              // [session, request; DWORD; q s]
inline constexpr DWORD WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS = 89;  // [session, request; DWORD, 10; q s]
inline constexpr DWORD WINHTTP_OPTION_MAX_RESPONSE_HEADER_SIZE = 91;      // [session, request; DWORD, 64 KiB; q s]

inline constexpr DWORD WINHTTP_HANDLE_TYPE_SESSION = 1;
inline constexpr DWORD WINHTTP_HANDLE_TYPE_CONNECT = 2;
inline constexpr DWORD WINHTTP_HANDLE_TYPE_REQUEST = 3;

inline constexpr DWORD WINHTTP_DISABLE_COOKIES = 0x00000001u;
inline constexpr DWORD WINHTTP_DISABLE_REDIRECTS = 0x00000002u;
inline constexpr DWORD WINHTTP_DISABLE_AUTHENTICATION = 0x00000004u;
inline constexpr DWORD WINHTTP_DISABLE_KEEP_ALIVE = 0x00000008u;

// Whether the logged-on user's credentials may answer a challenge: only when WinHttpSetCredentials asked for them, for
// every server, never.
inline constexpr DWORD WINHTTP_AUTOLOGON_SECURITY_LEVEL_MEDIUM = 0;
inline constexpr DWORD WINHTTP_AUTOLOGON_SECURITY_LEVEL_LOW = 1;
inline constexpr DWORD WINHTTP_AUTOLOGON_SECURITY_LEVEL_HIGH = 2;
inline constexpr DWORD WINHTTP_AUTOLOGON_SECURITY_LEVEL_DEFAULT = WINHTTP_AUTOLOGON_SECURITY_LEVEL_MEDIUM;

inline constexpr DWORD WINHTTP_OPTION_REDIRECT_POLICY_NEVER = 0;
inline constexpr DWORD WINHTTP_OPTION_REDIRECT_POLICY_DISALLOW_HTTPS_TO_HTTP = 1;
inline constexpr DWORD WINHTTP_OPTION_REDIRECT_POLICY_ALWAYS = 2;
inline constexpr DWORD WINHTTP_OPTION_REDIRECT_POLICY_DEFAULT = WINHTTP_OPTION_REDIRECT_POLICY_DISALLOW_HTTPS_TO_HTTP;

// The certificate that the server of a secure request showed. The two names hold the values of their parts, one on a
// line (CR LF between); they are the caller's, who frees them with LocalFree. What is about the connection's ciphers
// stays null and 0.
struct WINHTTP_CERTIFICATE_INFO {
    FILETIME ftExpiry;  // UTC, as is
    FILETIME ftStart;
    LPWSTR lpszSubjectInfo;
    LPWSTR lpszIssuerInfo;
    LPWSTR lpszProtocolName;
    LPWSTR lpszSignatureAlgName;
    LPWSTR lpszEncryptionAlgName;
    DWORD dwKeySize;
};

// Reads an option. bufferLength holds the room in bytes and gets the size of the value (text: without its zero);
// ERROR_INSUFFICIENT_BUFFER with the size needed when the room does not suffice. ERROR_WINHTTP_INVALID_OPTION (12009)
// for an option that is unknown or cannot be queried, ERROR_WINHTTP_INCORRECT_HANDLE_TYPE for one that this kind of
// handle lacks, ERROR_WINHTTP_INCORRECT_HANDLE_STATE (12019) for the certificate of a request that has met none.
QUILLMARK_PLATFORM_API BOOL WINAPI WinHttpQueryOption(HINTERNET handle, DWORD option, LPVOID buffer,
                                                      LPDWORD bufferLength);

// Sets an option; bufferLength is in bytes, for texts in characters. ERROR_INVALID_PARAMETER for a null buffer, a wrong
// size or a value that the option does not have, ERROR_WINHTTP_OPTION_NOT_SETTABLE (12011) for one that can only be
// queried, otherwise as WinHttpQueryOption. What is set on a session holds for requests opened later.
QUILLMARK_PLATFORM_API BOOL WINAPI WinHttpSetOption(HINTERNET handle, DWORD option, LPVOID buffer, DWORD bufferLength);

inline constexpr DWORD WINHTTP_AUTH_TARGET_SERVER = 0;
inline constexpr DWORD WINHTTP_AUTH_TARGET_PROXY = 1;
inline constexpr DWORD WINHTTP_AUTH_SCHEME_BASIC = 0x00000001u;
inline constexpr DWORD WINHTTP_AUTH_SCHEME_NTLM = 0x00000002u;
inline constexpr DWORD WINHTTP_AUTH_SCHEME_PASSPORT = 0x00000004u;
inline constexpr DWORD WINHTTP_AUTH_SCHEME_DIGEST = 0x00000008u;
inline constexpr DWORD WINHTTP_AUTH_SCHEME_NEGOTIATE = 0x00000010u;

// Gives a request the credentials that answer a challenge of the server or the proxy (targets). authParams: null.
//
// userName and password: both null with WINHTTP_AUTH_SCHEME_NEGOTIATE means the logged-on user (a Kerberos ticket);
// otherwise both are needed. One scheme at a time; _PASSPORT is not offered: ERROR_INVALID_PARAMETER for all else.
// Those for the server are not sent before it asks, and never to another host; those for the proxy go out with the
// first request.
QUILLMARK_PLATFORM_API BOOL WINAPI WinHttpSetCredentials(HINTERNET request, DWORD targets, DWORD scheme,
                                                         LPCWSTR userName, LPCWSTR password, LPVOID authParams);

// ---- Codes ----

inline constexpr DWORD WINHTTP_ERROR_BASE = 12000;
inline constexpr DWORD ERROR_WINHTTP_OUT_OF_HANDLES = 12001;
inline constexpr DWORD ERROR_WINHTTP_TIMEOUT = 12002;         // One of the four time-outs passed.
inline constexpr DWORD ERROR_WINHTTP_INTERNAL_ERROR = 12004;  // None of the others: libcurl reported a misuse.
inline constexpr DWORD ERROR_WINHTTP_INVALID_URL = 12005;     // A server name that is none.
inline constexpr DWORD ERROR_WINHTTP_UNRECOGNIZED_SCHEME = 12006;
inline constexpr DWORD ERROR_WINHTTP_NAME_NOT_RESOLVED = 12007;  // The server's or the proxy's name.
inline constexpr DWORD ERROR_WINHTTP_INVALID_OPTION = 12009;
inline constexpr DWORD ERROR_WINHTTP_OPTION_NOT_SETTABLE = 12011;
inline constexpr DWORD ERROR_WINHTTP_SHUTDOWN = 12012;
inline constexpr DWORD ERROR_WINHTTP_LOGIN_FAILURE = 12015;
inline constexpr DWORD ERROR_WINHTTP_OPERATION_CANCELLED = 12017;  // The handle was closed while the call was blocked.
inline constexpr DWORD ERROR_WINHTTP_INCORRECT_HANDLE_TYPE = 12018;
inline constexpr DWORD ERROR_WINHTTP_INCORRECT_HANDLE_STATE = 12019;
inline constexpr DWORD ERROR_WINHTTP_CANNOT_CONNECT = 12029;    // No connection to the server or the proxy.
inline constexpr DWORD ERROR_WINHTTP_CONNECTION_ERROR = 12030;  // The connection was lost.
inline constexpr DWORD ERROR_WINHTTP_RESEND_REQUEST = 12032;    // The body would have to be sent again.
inline constexpr DWORD ERROR_WINHTTP_SECURE_CERT_DATE_INVALID = 12037;
inline constexpr DWORD ERROR_WINHTTP_SECURE_CERT_CN_INVALID = 12038;
inline constexpr DWORD ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED = 12044;
inline constexpr DWORD ERROR_WINHTTP_SECURE_INVALID_CA = 12045;
inline constexpr DWORD ERROR_WINHTTP_SECURE_CERT_REV_FAILED = 12057;
inline constexpr DWORD ERROR_WINHTTP_CANNOT_CALL_BEFORE_OPEN = 12100;
inline constexpr DWORD ERROR_WINHTTP_CANNOT_CALL_BEFORE_SEND = 12101;
inline constexpr DWORD ERROR_WINHTTP_CANNOT_CALL_AFTER_SEND = 12102;
inline constexpr DWORD ERROR_WINHTTP_CANNOT_CALL_AFTER_OPEN = 12103;
inline constexpr DWORD ERROR_WINHTTP_HEADER_NOT_FOUND = 12150;
inline constexpr DWORD ERROR_WINHTTP_INVALID_SERVER_RESPONSE = 12152;  // The reply is no HTTP or breaks its framing.
inline constexpr DWORD ERROR_WINHTTP_INVALID_HEADER = 12153;
inline constexpr DWORD ERROR_WINHTTP_INVALID_QUERY_REQUEST = 12154;
inline constexpr DWORD ERROR_WINHTTP_HEADER_ALREADY_EXISTS = 12155;
inline constexpr DWORD ERROR_WINHTTP_REDIRECT_FAILED = 12156;  // More redirects than allowed, or one to nowhere.
inline constexpr DWORD ERROR_WINHTTP_SECURE_CHANNEL_ERROR = 12157;
inline constexpr DWORD ERROR_WINHTTP_BAD_AUTO_PROXY_SCRIPT = 12166;
inline constexpr DWORD ERROR_WINHTTP_UNABLE_TO_DOWNLOAD_SCRIPT = 12167;
inline constexpr DWORD ERROR_WINHTTP_SECURE_INVALID_CERT = 12169;
inline constexpr DWORD ERROR_WINHTTP_SECURE_CERT_REVOKED = 12170;
inline constexpr DWORD ERROR_WINHTTP_SECURE_FAILURE = 12175;  // Any failure of the TLS handshake or verification.
inline constexpr DWORD ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE = 12179;
inline constexpr DWORD ERROR_WINHTTP_AUTODETECTION_FAILED = 12180;
inline constexpr DWORD ERROR_WINHTTP_HEADER_COUNT_EXCEEDED = 12181;
inline constexpr DWORD ERROR_WINHTTP_HEADER_SIZE_OVERFLOW = 12182;  // The reply's head is over the limit.
inline constexpr DWORD ERROR_WINHTTP_CHUNKED_ENCODING_HEADER_SIZE_OVERFLOW = 12183;
inline constexpr DWORD ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW = 12184;
inline constexpr DWORD ERROR_WINHTTP_CLIENT_CERT_NO_PRIVATE_KEY = 12185;
inline constexpr DWORD ERROR_WINHTTP_CLIENT_CERT_NO_ACCESS_PRIVATE_KEY = 12186;
