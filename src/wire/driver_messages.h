#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// The layout of the records exchanged with the driver, and nothing that acts on them. All integers
// are little-endian; all character arrays are byte strings that end at their first NUL or, where a
// driver forgot it, at the end of the array.

namespace vossel {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the wire records are little-endian");

enum MessageType : std::uint32_t {
    MSG_POLICY_QUERY = 256, // one policy_query; the message is 3384 bytes
    MSG_FILTER_STOPPED = 258, // no payload
    MSG_AUTODETECT = 264, // a program notice of at least 1056 message bytes
};

enum MethodSelector : std::uint32_t {
    METHOD_START_FILTER = 2, // no input
    METHOD_STOP_FILTER = 3, // session key
    METHOD_OPEN_SESSION = 6, // no input; output: a new session key
    METHOD_FILTER_STATUS = 7, // session key; status 0 while filtering is active
    METHOD_RELOAD_RULES = 8, // session key
    METHOD_DELIVER_RESPONSE = 10, // user_prompt_response
    METHOD_RELEASE_PORT = 11, // session key
    METHOD_RELOAD_QUIET = 14, // session key
};

// policy_query.operation holds one; user_prompt_response.operations a set.
enum Operation : std::int32_t {
    OPERATION_READ = 1,
    OPERATION_WRITE = 2,
    OPERATION_CREATE = 4,
    OPERATION_MOUNT = 8,
    OPERATION_EXECUTE = 16,
};

enum Duration : std::int32_t {
    DURATION_ONCE = 0, // this access only
    DURATION_UNTIL_QUIT = 1, // until the program quits
    DURATION_UNTIL_RESTART = 2,
    DURATION_FOREVER = 3,
};

enum Decision : std::int32_t { DECISION_ALLOW = 0, DECISION_DENY = 1 };

enum ResponseCode : std::int32_t {
    RESPONSE_DECIDED = 0,
    RESPONSE_NOT_SHOWN = 1, // filter not active, or nobody there to be asked
    RESPONSE_NOT_ANSWERED = 2, // timed out or cancelled
    RESPONSE_REEVALUATE = 3, // rules were imported: ask them again
};

enum PathType : std::int32_t {
    PATH_PREFIX = 0, // the path and everything below it
    PATH_EXACT = 1, // exactly this path; an empty path stands for any file
    PATH_EXTENSION = 2, // begins with "."
};

enum ProcessScope : std::int32_t {
    PROCESS_NONE = 0, // no choice was made: simple prompt, timeout
    PROCESS_ANY = 1,
    PROCESS_PROGRAM = 2,
    PROCESS_PROGRAM_VIA_PARENT = 3,
    PROCESS_ANY_VIA_PARENT = 5,
    PROCESS_ANY_WITH_ANCESTOR = 6, // the ancestor's path is in user_data
};

enum CodeSignState : std::int32_t {
    CODE_SIGN_UNSIGNED = 1,
    CODE_SIGN_VALID = 2,
    CODE_SIGN_INVALID = 3,
    CODE_SIGN_NOT_VERIFIABLE = 4,
    CODE_SIGN_UNSUPPORTED = 5,
    CODE_SIGN_ERROR = 6,
};

// What a prompt writes into constraint_type: whether updates of the program stay covered.
enum ConstraintType : std::int32_t { CONSTRAINT_THIS_VERSION = 1, CONSTRAINT_UPDATES_COVERED = 2 };

struct csproc_info {
    std::int32_t magic;
    std::int32_t cs_valid;
    std::int32_t cs_adhoc;
    std::int32_t platform_binary;
    char identity[64];
    char teamid[16];
};

struct policy_query {
    std::int32_t pid;
    std::int32_t ppid; // 0: not supplied
    std::uint32_t flags;
    char path[1024];
    char process_name[1024];
    char parent_name[1024]; // empty: no parent
    union {
        std::uint8_t sha1[20];
        std::uint8_t sha256[32];
        char teamid[16];
    } process_constraints;
    std::int32_t constraint_type;
    std::uint32_t security_token;
    std::int32_t operation;
    std::int32_t reserved1; // the acting program's CodeSignState
    csproc_info cs_info;
    char reserved2[128]; // three fields separated by tabs; the third is the signer's text
};

struct user_prompt_response {
    std::int32_t duration;
    std::int32_t decision;
    std::int32_t code;
    std::int32_t pathType;
    std::int32_t process;
    std::int32_t constraint_type;
    char path[1024];
    char user_data[1024];
    std::uint8_t skey[64];
    std::int32_t operations;
    std::uint32_t security_token;
    std::uint32_t pid;
};

// A notification of type MSG_POLICY_QUERY, whole.
struct policy_query_message {
    std::uint8_t header[24]; // not read
    std::uint32_t type;
    policy_query policy_query_;
};

inline constexpr std::size_t sessionKeySize = 64;
inline constexpr std::size_t messageTypeOffset = 24;
inline constexpr std::size_t messagePayloadOffset = 28;
inline constexpr std::size_t programNoticePathOffset = 32;
inline constexpr std::size_t programNoticePathSize = 1024;
inline constexpr std::size_t programNoticeCodeSignOffset = 1056;

static_assert(sizeof(csproc_info) == 96);
static_assert(offsetof(csproc_info, identity) == 16 && offsetof(csproc_info, teamid) == 80);
static_assert(sizeof(policy_query) == 3356);
static_assert(offsetof(policy_query, path) == 12);
static_assert(offsetof(policy_query, process_name) == 1036);
static_assert(offsetof(policy_query, parent_name) == 2060);
static_assert(offsetof(policy_query, process_constraints) == 3084);
static_assert(offsetof(policy_query, constraint_type) == 3116);
static_assert(offsetof(policy_query, security_token) == 3120);
static_assert(offsetof(policy_query, operation) == 3124);
static_assert(offsetof(policy_query, reserved1) == 3128);
static_assert(offsetof(policy_query, cs_info) == 3132);
static_assert(offsetof(policy_query, reserved2) == 3228);
static_assert(sizeof(user_prompt_response) == 2148);
static_assert(offsetof(user_prompt_response, path) == 24);
static_assert(offsetof(user_prompt_response, user_data) == 1048);
static_assert(offsetof(user_prompt_response, skey) == 2072);
static_assert(offsetof(user_prompt_response, operations) == 2136);
static_assert(offsetof(user_prompt_response, security_token) == 2140);
static_assert(offsetof(user_prompt_response, pid) == 2144);
static_assert(sizeof(policy_query_message) == 3384);
static_assert(offsetof(policy_query_message, type) == messageTypeOffset);
static_assert(offsetof(policy_query_message, policy_query_) == messagePayloadOffset);

// The text of a character array: up to its NUL or, without one, all of it. The view lives as long
// as the array.
template <std::size_t N>
[[nodiscard]] inline std::string_view textOf(const char (&array)[N])
{
    return {array, strnlen(array, N)};
}

// Stores at most N - 1 bytes of `text` and fills the rest with NUL.
template <std::size_t N>
inline void storeText(char (&array)[N], std::string_view text)
{
    const std::size_t length = text.size() < N ? text.size() : N - 1;
    if (length > 0) // an empty view may have no address at all
        std::memmove(array, text.data(), length);
    std::memset(array + length, 0, N - length);
}

}
