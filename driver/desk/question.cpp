#include "driver/desk/question.h"

namespace vossel {

std::int32_t principalOperation(std::int32_t operations)
{
    for (const std::int32_t operation :
        {OPERATION_EXECUTE, OPERATION_MOUNT, OPERATION_CREATE, OPERATION_WRITE})
        if ((operations & operation) != 0)
            return operation;
    return OPERATION_READ;
}

policy_query_message makeQueryMessage(
    const Question& question, std::int32_t operation, std::uint32_t token)
{
    policy_query_message message = {};
    message.type = MSG_POLICY_QUERY;
    policy_query& query = message.policy_query_;
    query.pid = question.process;
    query.ppid = question.parentProcess;
    storeText(query.path, question.access.path);
    storeText(query.process_name, question.access.program.path);
    storeText(query.parent_name, question.access.parent.path);
    query.security_token = token;
    query.operation = operation;

    const ProgramIdentity& identity = question.identity;
    const bool valid = identity.state == CODE_SIGN_VALID;
    query.constraint_type = valid ? CONSTRAINT_UPDATES_COVERED : CONSTRAINT_THIS_VERSION;
    storeText(query.process_constraints.teamid, identity.team);
    query.reserved1 = identity.state;
    query.cs_info.cs_valid = valid ? 1 : 0;
    query.cs_info.platform_binary = identity.platform ? 1 : 0;
    storeText(query.cs_info.identity, identity.identifier);
    storeText(query.cs_info.teamid, identity.team);
    storeText(
        query.reserved2, identity.identifier + "\t" + identity.team + "\t" + identity.signerText);
    return message;
}

}
