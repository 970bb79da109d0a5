// The toolkit's own messages: catalog "pmxmsg", set 1, the number as key, the text as default text.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// Number, name, text. The number in an identifier is not always the message's own: both stay as
// they have been shipped. "%1s" is a width, not a place.
// clang-format off
#define PMX_MESSAGES(X)                                                                            \
    X(1, no_listeners, "PMXLG01E No listeners are registered with the logger %s.")                 \
    X(2, catalog_not_opened, "PMXBC02E The message catalog file %s could not be opened.")          \
    X(3, message_not_found,                                                                        \
      "PMXBC03E The message with set index %1$d and key index %2$d was not found in the "          \
      "message catalog %3$s.")                                                                     \
    X(4, property_empty,                                                                           \
      "PMXBC04E Property '%1$s' will be ignored for '%2$s' because the value is empty or "         \
      "blank.")                                                                                    \
    X(10, rak_error, "PMXBC0010E The following RAK error occurred: %s")                            \
    X(20, out_of_memory, "PMXBC0020E Out of memory.")                                              \
    X(30, value_missing, "PMXBC0030E A value must be specified for the property '%s' .")           \
    X(31, value_too_long, "PMXBC0031E Property '%1$s' must be %2$d characters or less.")           \
    X(32, bad_file_path,                                                                           \
      "PMXFH0032E Property '%1$s' must be a valid file path for this platform, but value "         \
      "'%2$s' was given.")                                                                         \
    X(33, null_parameter,                                                                          \
      "PMXBC0033E A \"NULL\" value for parameter %1$s was passed to the function %2$s. "           \
      "The function call will be ignored.")                                                        \
    X(34, negative_parameter,                                                                      \
      "PMX0034E A negative value for parameter %1$s was passed to the function %2$s. The "         \
      "function call will be ignored.")                                                            \
    X(35, no_host_name,                                                                            \
      "PMXLG0035E A logger of class %s could not get the host name. The host name will "           \
      "not be logged.")                                                                            \
    X(36, code_set_not_loaded,                                                                     \
      "PMXFH0036W Could not load codeset %s. Logged text will be stored in UTF-8 "                 \
      "encoding instead.")                                                                         \
    X(40, no_directory_list, "PMXFH0040E Unable to get directory list for the file: %s")           \
    X(50, toolkit_not_initialized, "PMXTK0050W Failed to initialize the PmxLog toolkit.")          \
    X(51, properties_not_read, "PMX0051E The log manager could not read the properties file %s.")  \
    X(52, bad_value_escape,                                                                        \
      "PMX0052E The value of property '%s' in the properties file could not be parsed, "           \
      "because it contains a backslash character that is not part of a valid escape "              \
      "sequence.")                                                                                 \
    X(60, object_corrupt, "PMXBC0060W The object named '%s' is corrupt.")                          \
    X(61, object_of_other_class,                                                                   \
      "PMXBC0061W Object '%1$s' exists but is of class '%2$s' instead of '%3$s' .")                \
    X(62, class_not_defined,                                                                       \
      "PMXBC0062W Class '%1$s' must be defined before object '%2$s' can be created.")              \
    X(63, class_not_specified,                                                                     \
      "PMXBC0063W A class must be specified before object '%1$s' can be created.")                 \
    X(70, list_not_ended,                                                                          \
      "PMXBC0070W The logging method parameter list did not end with a NULL.")                     \
    X(71, list_without_markers,                                                                    \
      "PMXBC0071W The logging method's parameter list is missing type markers.")                   \
    X(72, active_log_not_read,                                                                     \
      "PMXMP0072W Could not read the active log file %1s during log file rollover.")               \
    X(73, backup_log_not_written,                                                                  \
      "PMXMP0073W Could not write to the backup log file %1s during log file rollover.")           \
    X(74, bad_permission,                                                                          \
      "PMXMP0074W The value %1s is not a valid file permission mask for file handler "             \
      "%2s. Please specify a four-digit octal value (with a leading zero).")                       \
    X(75, permission_not_changed,                                                                  \
      "PMXMP0075W Could not change the permissions of the log file %1s.")                          \
    X(76, bad_filter_mode,                                                                         \
      "PMXFF0020W The property 'mode' for message ID filter %1s was set to unknown value "         \
      "%2s. Expected values are 'BLOCK' or 'PASSTHRU'.")                                           \
    X(77, max_files_not_positive,                                                                  \
      "PMXFH0077W Property 'maxFiles' will be ignored for file handler %1s, because the "          \
      "value %2d is not greater than zero.")                                                       \
    X(78, max_file_bytes_not_positive,                                                             \
      "PMXFH0078W Property 'maxFileBytes' will be ignored for file handler '%1s', "                \
      "because the value %2d is not greater than zero.")                                           \
    X(79, max_file_bytes_without_backups,                                                          \
      "PMXFH0079W Property 'maxFileBytes' will be ignored for file handler '%1s', "                \
      "because property 'maxFiles' is set to 1.")                                                  \
    X(90, channel_message_not_sent,                                                                \
      "PMXWH0090E A message could not be sent to the Halvane Application Server. The "             \
      "error code is %1$d.")                                                                       \
    X(91, channel_not_opened,                                                                      \
      "PMXWH0091E An IPC channel could not be opened. The error code is %1$d.")                    \
    X(93, channel_not_closed,                                                                      \
      "PMXWH0092E An IPC channel could not be closed. The error code is %1$d.")                    \
    X(94, packet_not_sent,                                                                         \
      "PMXWH0093E A packet could not be sent through an IPC channel. The error code is "           \
      "%1$d.")                                                                                     \
    X(95, channel_timed_out, "PMXWH0094W A message is discarded due to timeout.")                  \
    X(100, basic_logger, "Logger for basic messages")                                              \
    X(101, pd_logger, "Logger for messages with detailed problem data")                            \
    X(110, level_filter, "Filters messages by level")                                              \
    X(120, console_handler, "Handles output to the console")                                       \
    X(121, file_handler, "Handles output to local log files")                                      \
    X(130, basic_formatter, "Formats a basic message summary.")                                    \
    X(131, xml_formatter, "Formats all message data as an XML record.")                            \
    X(140, message_id_filter, "Filters events based on their QRA message ids")                     \
    X(141, ffdc_handler,                                                                           \
      "Performs First Failure Data Capture (FFDC) actions based on the QRA message ids "           \
      "of incoming events.")                                                                       \
    X(142, filecopy_handler,                                                                       \
      "Copies local files to a problem determination directory, based on the QRA message "         \
      "ids of incoming events.")                                                                   \
    X(151, no_trigger_filter,                                                                      \
      "PMXFF0011E No triggering filter has been specified for the First Failure Data "             \
      "Capture handler %s.")                                                                       \
    X(152, no_base_directory,                                                                      \
      "PMXFF0012E The First Failure Data Capture base directory has not been specified "           \
      "for the handler %s.")                                                                       \
    X(153, base_directory_not_made,                                                                \
      "PMXFF0013E The First Failure Data Capture directory %1$s could not be created for "         \
      "the handler %2$s.")                                                                         \
    X(154, oldest_files_not_deleted,                                                               \
      "PMXFF0014W Could not delete all the oldest files in the FFDC directory %1$s to "            \
      "reduce the disk space below the first warning limit, %2$.2f percent of the "                \
      "maxiumum disk space, %3$ld bytes, for handler, %4$s.")                                      \
    X(155, deleting_oldest_files,                                                                  \
      "PMXFF0015I Attempting to delete the oldest files in the FFDC directory, %1$s, to "          \
      "reduce it below the first warning limit, %2$.2f, percent of the maximum disk "              \
      "space, %3$ld. This is approximately %4$ld bytes being deleted by handler, %5$s.")           \
    X(160, space_warning,                                                                          \
      "PMXFF0060W The First Failure Data Capture (FFDC) disk space requested has "                 \
      "exceeded %1$.2f percent of the maximum disk space, %2$ld bytes. The current space "         \
      "used is %3$ld bytes, and the estimated space needed to complete the FFDC action "           \
      "is %4$ld bytes for handler, %5$s.")                                                         \
    X(161, space_exhausted,                                                                        \
      "PMXFF0061E First Failure Data Capture (FFDC) actions cannot be peformed since the "         \
      "maximum disk space allocated for FFDC will be exceeded and quota policy is "                \
      "QUOTA_SUSPEND. The disk space used by directory, %1$s is %2$ld bytes and the "              \
      "maximum disk space specified for FFDC for handler, %3$s, is %4$ld bytes.")                  \
    X(162, capture_file_not_found,                                                                 \
      "PMXFF0062W Could not find the file %1s to be copied by the file copying handler "           \
      "%2s.")                                                                                      \
    X(163, capture_file_not_copied,                                                                \
      "PMXFF0063W The file copying handler %1s could not copy the file %2s.")                      \
    X(164, zip_not_created, "PMXFF0064E Could not create the zip file %s.")                        \
    X(165, zip_command_missing,                                                                    \
      "PMXFF0065E The specified zip command '%s'. does not exist or cannot be run.")
// clang-format on

namespace vel::log {

constexpr size_t kMessageCount = 166;
constexpr uint32_t kMessageSet = 1;

#define PMX_MESSAGE_NAME(number, name, text) name = (number),
enum class Msg : uint32_t { catalog_name = 0, PMX_MESSAGES(PMX_MESSAGE_NAME) };
#undef PMX_MESSAGE_NAME

}  // namespace vel::log

// The texts by number. The first is the name of the catalog; numbers without a message have
// "unused000", "unused001" ... in order.
extern const std::array<const char*, vel::log::kMessageCount> pmxmsg;

namespace vel::log {

inline const char* text_of(Msg message) { return pmxmsg[static_cast<uint32_t>(message)]; }

}  // namespace vel::log
