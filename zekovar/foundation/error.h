#pragma once

/// Fixed message texts, for `XCode::setString` and for lookups of a name that find none.
///
/// They are texts and not result values. Their wording, misspellings included, is known to log filters in the field
/// and never changes. The texts that begin with `DB_` and `GET_DB_` serve clients of the configuration database.
namespace ERROR
{
inline constexpr char const* DB_REGISTER_XML_SPECIFICATION_FAILED = "DB REGISTER XML SPECIFICATION FAILED";
inline constexpr char const* DB_REGISTER_COMMAND_SERVER_FAILED = "DB REGISTER COMMAND SERVER FAILED";
inline constexpr char const* DB_REGISTER_SYNC_OBSERVER_CALLBACK_FAILED = "DB REGISTER SYMC OBSERVER CALLBACK FAILED";
inline constexpr char const* DB_REGISTER_OBSERVER_CALLBACK_FAILED = "DB REGISTER OBSERVER CALLBACK FAILED";
inline constexpr char const* DB_REGISTER_PROCESSOR_CALLBACK_FAILED = "DB REGISTER PROCESSOR CALLBACK FAILED";
inline constexpr char const* DB_LOAD_OBJ_DEFAULT_FAILED = "DB LOAD OBJ DEFAULT FAILED";
inline constexpr char const* DB_LOAD_OBJ_FIRST_CONFIG_FAILED = "DB LOAD OBJ FIRST CONFIG FAILED";
inline constexpr char const* DB_LOAD_OBJ_BY_ID_FAILED = "DB LOAD OBJ BY ID FAILED";
inline constexpr char const* DB_LOAD_OBJ_BY_NAME_FAILED = "DB LOAD OBJ BY NAME FAILED";
inline constexpr char const* DB_LOAD_OBJ_BY_KEY_FAILED = "DB LOAD OBJ BY KEY FAILED";
inline constexpr char const* DB_LOAD_FIRST_OBJ_FAILED = "DB LOAD FIRST OBJ FAILED";
inline constexpr char const* DB_EVENT_STATUS_CHECK_FAILED = "DB EVENT STATUS CHECK FAILED";
inline constexpr char const* DB_EVENT_STATUS_INIT_FAILED = "DB EVENT STATUS INIT FAILED";
inline constexpr char const* DB_TRANSACTION_ISSUING_COMMAND_FAILED = "DB TRANSACTION ISSUING COMMAND FAILED";
inline constexpr char const* DB_TRANSACTION_COMMIT_FAILED = "DB TRANSACTION COMMIT FAILED";
inline constexpr char const* DB_TRANSACTION_UPGRADE_FAILED = "DB TRANSACTION UPGARADE FAILED";
inline constexpr char const* DB_TRANSACTION_START_RO_FAILED = "DB TRANSACTION START READ ONLY FAILED";
inline constexpr char const* DB_TRANSACTION_START_RW_FAILED = "DB TRANSACTION START READ WRITE FAILED";
inline constexpr char const* DB_UDA_CURSOR_FIRST_FAILED = "DB UDA CURSOR FIRST FAILED";
inline constexpr char const* DB_UDA_FROM_CURSOR_FAILED = "DB UDA FROM CURSOR FAILED";
inline constexpr char const* DB_UDA_LOOKUP_FAILED = "DB UDA LOOKUP FAILED";
inline constexpr char const* DB_UDA_GET_CURSOR_FAILED = "DB UDA GET CURSOR FAILED";
inline constexpr char const* DB_UDA_GET_STRING_FAILED = "DB UDA GET STRING FAILED";
inline constexpr char const* DB_UDA_GET_FAILED = "DB UDA GET FAILED";
inline constexpr char const* DB_UDA_PUT_FAILED = "DB UDA PUT FAILED";
inline constexpr char const* DB_INVALID_FIELD_TYPE = "DB INVALID FIELD TYPE";
inline constexpr char const* DB_SPECIFIC_GET_FAILED = "DB SPECIFIC GET FAILED";
inline constexpr char const* DB_SPECIFIC_PUT_FAILED = "DB SPECIFIC PUT FAILED";
inline constexpr char const* DB_SET_TO_DEFAULT_FAILED = "DB SET TO DEFAULT FAILED";
inline constexpr char const* DB_DECREASE_CHILD_COUNT_FAILED = "DB DECREASE CHILD-COUNT FAILED";
inline constexpr char const* DB_NO_DESCR = "DB NO DESCR";
inline constexpr char const* DB_ACCESS_DENIED = "DB ACCESS DENIED";
inline constexpr char const* DB_ADD_CHILD_FAILED = "DB ADD CHILD FAILED";
inline constexpr char const* DB_UNSYNC_FAILED = "DB UNSYNC FAILED";
inline constexpr char const* DB_SYNC_FAILED = "DB SYNC FAILED";
inline constexpr char const* DB_FIELD_TYPE_NOT_SUPPORTED = "DB FIELD TYPE NOT SUPPORTED";
inline constexpr char const* DB_INVALID_EVENT_TYPE = "DB INVALID EVENT TYPE";
inline constexpr char const* DB_INVALID_STRUCT_NO = "DB INVALID STRUCT NO";
inline constexpr char const* DB_ENTRY_DOES_NOT_EXIST = "DB ENTRY DOES NOT EXIST";
inline constexpr char const* DB_REPORTED_FAILURE_STATE = "DB REPORTED FAILURE STATE";
inline constexpr char const* DB_STATE_WAS_NOT_UPDATED = "DB STATE WAS NOT UPDATED";
inline constexpr char const* DB_UPDATE_EVENT_FAILED = "DB UPDATE EVENT FAILED";
inline constexpr char const* DB_UPDATE_FAILED = "DB UPDATE FAILED";
inline constexpr char const* DB_DEL_FAILED = "DB DEL FAILED";
inline constexpr char const* DB_NEW_FAILED = "DB NEW FAILED";
inline constexpr char const* DB_GET_VALUE_FAILED = "DB GET VALUE FAILED";
inline constexpr char const* DB_SET_VALUE_FAILED = "DB SET VALUE FAILED";
inline constexpr char const* DB_ITERATOR_SETUP_FAILED = "DB ITERATOR SETUP FAILED";
inline constexpr char const* GET_DB_PARENT_FAILED = "GET DB PARENT FAILED";
inline constexpr char const* GET_DB_CHILDREN_FAILED = "GET DB CHILDREN FAILED";
inline constexpr char const* GET_DB_INDEX_FIELD_FROM_INDEX_FAILED = "GET DB INDEX FIELD FROM INDEX FAILED";
inline constexpr char const* GET_DB_NUMBER_OF_INDEXS_FAILED = "GET DB NUMBER OF INDEXS FAILED";
inline constexpr char const* GET_DB_INDEX_FROM_INDEX_FAILED = "GET DB INDEX FROM INDEX FAILED";
inline constexpr char const* GET_DB_INDEX_FROM_NAME_FAILED = "GET DB INDEX FROM NAME FAILED";
inline constexpr char const* GET_DB_NUMBER_OF_FIELDS_FAILED = "GET DB NUMBER OF FIELDS FAILED";
inline constexpr char const* GET_DB_FIELD_FROM_INDEX_FAILED = "GET DB FIELD FROM INDEX FAILED";
inline constexpr char const* GET_DB_FIELD_FROM_NAME_FAILED = "GET DB FIELD FROM NAME FAILED";
inline constexpr char const* GET_DB_NUMBER_OF_STRUCTS_FAILED = "GET DB NUMBER OF STRUCTS FAILED";
inline constexpr char const* GET_DB_STRUCT_FROM_INDEX_FAILED = "GET DB STRUCT FROM INDEX FAILED";
inline constexpr char const* GET_DB_STRUCT_FROM_NAME_FAILED = "GET DB STRUCT FROM NAME FAILED";

inline constexpr char const* OBJ_NOT_SETUP = "OBJ NOT SETUP";
inline constexpr char const* OUT_OF_MEMORY = "OUT OF MEMORY";
inline constexpr char const* UNKNOWN = "(unknown)";
inline constexpr char const* INVALID = "(invalid)";
inline constexpr char const* ERROR_EMPTY_ARGUMENT = "EMPTY ARGUMENT";
inline constexpr char const* ERROR_OBJ_NOT_SETUP = "OBJ NOT SETUP";
inline constexpr char const* ERROR_NO_DEBUG_MONITOR = "NO MONITOR AVAILABLE";
inline constexpr char const* ERROR_INSUFFICIENT_PRIVILEGES = "INSUFFICIENT PRIVILEGES";
inline constexpr char const* ERROR_VALUE_MISSING = "NOT ENOUGH VALUES GIVEN";
inline constexpr char const* ERROR_ARG_MISSING = "NOT ENOUGH ARGUMENTS GIVEN";
inline constexpr char const* ERROR_NO_LOG_MANAGER = "NO LOG MANAGER";
inline constexpr char const* ERROR_NO_MANAGER = "NO MANAGER";
inline constexpr char const* ERROR_INVALID_OPTION = "INVALID OPTION";
inline constexpr char const* ERROR_INVALID_COMMAND = "INVALID COMMAND";
inline constexpr char const* ERROR_INVALID_ARGUMENT = "INVALID ARGUMENT";
inline constexpr char const* ERROR_INVALID_PARAMETER = "INVALID PARAMETER";
inline constexpr char const* ERROR_NO_PROFILE = "NO SUCH PROFILE";
inline constexpr char const* ERROR_INVALID_PORT = "INVALID PORT";
inline constexpr char const* ERROR_NO_DRIVER_REPOSITORY = "NO DRIVER REPOSITORY";
inline constexpr char const* ERROR_INTERNAL = "INTERNAL ERROR";
inline constexpr char const* ERROR_OUT_OF_MEMORY = "OUT OF MEMORY";
}
