// Name look-ups by DNS.
//
// A look-up is bounded: it answers within two seconds, whatever the name servers do. It reads the machine's hosts file
// and resolver configuration anew each time and caches nothing.
//
// Every function here may be called from any thread; DnsQuery_W blocks.
#pragma once

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Types.h"

using DNS_STATUS = LONG;

inline constexpr WORD DNS_TYPE_A = 1;
inline constexpr WORD DNS_TYPE_CNAME = 5;
inline constexpr WORD DNS_TYPE_AAAA = 28;

inline constexpr DWORD DNS_QUERY_STANDARD = 0x00000000;
inline constexpr DWORD DNS_QUERY_BYPASS_CACHE = 0x00000008;
inline constexpr DWORD DNS_QUERY_NO_WIRE_QUERY = 0x00000010;
inline constexpr DWORD DNS_QUERY_NO_HOSTS_FILE = 0x00000040;
inline constexpr DWORD DNS_QUERY_TREAT_AS_FQDN = 0x00001000;

inline constexpr DNS_STATUS DNS_ERROR_INVALID_NAME = static_cast<DNS_STATUS>(ERROR_INVALID_NAME);
inline constexpr DNS_STATUS DNS_ERROR_NO_MEMORY = static_cast<DNS_STATUS>(ERROR_OUTOFMEMORY);
inline constexpr DNS_STATUS DNS_ERROR_RCODE_FORMAT_ERROR = 9001;
inline constexpr DNS_STATUS DNS_ERROR_RCODE_SERVER_FAILURE = 9002;
inline constexpr DNS_STATUS DNS_ERROR_RCODE_NAME_ERROR = 9003;
inline constexpr DNS_STATUS DNS_ERROR_RCODE_NOT_IMPLEMENTED = 9004;
inline constexpr DNS_STATUS DNS_ERROR_RCODE_REFUSED = 9005;
inline constexpr DNS_STATUS DNS_INFO_NO_RECORDS = 9501;
inline constexpr DNS_STATUS DNS_ERROR_BAD_PACKET = 9502;
inline constexpr DNS_STATUS DNS_ERROR_INVALID_NAME_CHAR = 9560;
inline constexpr DNS_STATUS DNS_ERROR_NO_DNS_SERVERS = 9852;

// An address in network byte order, as it travels.
using IP4_ADDRESS = DWORD;

union IP6_ADDRESS {
    DWORD IP6Dword[4];
    WORD IP6Word[8];
    BYTE IP6Byte[16];
};

struct DNS_A_DATA {
    IP4_ADDRESS IpAddress;
};

struct DNS_AAAA_DATA {
    IP6_ADDRESS Ip6Address;
};

struct DNS_PTR_DATAW {
    PWSTR pNameHost;
};

inline constexpr DWORD DnsSectionAnswer = 1;
inline constexpr DWORD DnsCharSetUnicode = 1;

struct DNS_RECORD_FLAGS {
    DWORD Section : 2;
    DWORD Delete : 1;
    DWORD CharSet : 2;
    DWORD Unused : 3;
    DWORD Reserved : 24;
};

struct DNS_RECORDW {
    DNS_RECORDW* pNext;
    PWSTR pName;
    WORD wType;
    WORD wDataLength;
    union {
        DWORD DW;
        DNS_RECORD_FLAGS S;
    } Flags;
    DWORD dwTtl;
    DWORD dwReserved;
    union {
        DNS_A_DATA A;
        DNS_PTR_DATAW CNAME;
        DNS_AAAA_DATA AAAA;
    } Data;
};
using PDNS_RECORDW = DNS_RECORDW*;
using DNS_RECORD = DNS_RECORDW;
using PDNS_RECORD = DNS_RECORDW*;

enum DNS_FREE_TYPE { DnsFreeFlat = 0, DnsFreeRecordList = 1 };

// Looks the name up and returns the records of the answer (aliases on the way included) in the order in which they
// came, to be freed with DnsFree(list, DnsFreeRecordList). 0, or with a null list:
// - DNS_ERROR_INVALID_NAME (123): a null or empty name, an address in place of a name, an empty or too long label,
//   text that is no UTF-16; nothing is sent. DNS_ERROR_INVALID_NAME_CHAR: blanks or control characters in the name;
// - ERROR_INVALID_PARAMETER: pExtra or pReserved given (asking chosen servers is not available here), or no result;
// - ERROR_NOT_SUPPORTED: types other than DNS_TYPE_A and DNS_TYPE_AAAA, which are not available here;
// - ERROR_TIMEOUT (1460): no usable answer in two seconds; DNS_ERROR_NO_DNS_SERVERS: no server can be reached at all;
// - DNS_ERROR_RCODE_NAME_ERROR: there is no such name; DNS_INFO_NO_RECORDS: it has no record of this type;
// - DNS_ERROR_RCODE_*: what the last of the servers answered, when each of them failed; DNS_ERROR_BAD_PACKET when
//   that answer could not be read.
// "localhost" and the names of the hosts file are answered from this machine (not with DNS_QUERY_NO_HOSTS_FILE; then
// only "localhost"); with DNS_QUERY_NO_WIRE_QUERY all others give DNS_INFO_NO_RECORDS. Names without a dot are tried
// in the domains of the search list first, unless DNS_QUERY_TREAT_AS_FQDN or a final dot says that they are complete.
QUILLMARK_PLATFORM_API DNS_STATUS WINAPI DnsQuery_W(PCWSTR pszName, WORD wType, DWORD Options, PVOID pExtra,
                                                    PDNS_RECORD* ppQueryResults, PVOID* pReserved);

// Frees what DnsQuery_W returned, null included: with DnsFreeRecordList the whole list, with DnsFreeFlat one record.
QUILLMARK_PLATFORM_API void WINAPI DnsFree(PVOID pData, DNS_FREE_TYPE FreeType);
