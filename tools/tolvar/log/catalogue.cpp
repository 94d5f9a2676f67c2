#include "tools/tolvar/log/catalogue.h"

namespace devicelog {
namespace {

using Kind = Event::Kind;
using Id = MessageId;

constexpr bool component = true;
constexpr bool other = false;

// clang-format off
constexpr Catalogue catalogue = {{
    {Id::BindFailed, Kind::SocketFailed, other, "bind heartbeat socket failed with error: {reason}",
     "The name of the heartbeat socket could not be taken. \"Address already in use\": another "
     "supervisor runs on the device.",
     "Find the second host process and end it; this one goes on by itself, it tries every second."},
    {Id::NoSocket, Kind::SocketFailed, other, "Failed to create heartbeat socket",
     "The kernel gave no socket: too many open files, no memory, or no Unix sockets.",
     "Look at the host's open files and at the device's memory; it is tried every second."},
    {Id::NoSocketTimeout, Kind::SocketFailed, other, "Failed to setsockopt SO_RCVTIMEO",
     "The kernel refused a receive time-out on the heartbeat socket.",
     "Check that host and kernel agree on 64-bit time; it is tried every second."},
    {Id::NoConfig, Kind::Detail, other,
     "don't have config file {path}, taking default configuration",
     "The supervisor starts with its default intervals.",
     ""},
    {Id::FetchInterval, Kind::Detail, other, "bootstrap_interval={seconds#}",
     "The supervisor starts; seconds between two fetches of the list, before it is scaled once "
     "by 0.5 to 0.995.",
     "Very large: the file gives a negative number. 0: it gives no number."},
    {Id::HeartbeatInterval, Kind::Detail, other, "max_heartbeat_interval={seconds#}",
     "The supervisor starts; seconds of silence that a running process may have.",
     "Very large: the file gives a negative number. 0: it gives no number."},
    {Id::ReportInterval, Kind::Detail, other, "metrics_report_interval={seconds#}",
     "The supervisor starts; seconds between two reports.",
     "Very large: the file gives a negative number. 0: it gives no number."},
    {Id::FailureReportInterval, Kind::Detail, other, "failure_metrics_report_interval={seconds#}",
     "The supervisor starts; seconds between two reports while a process is failed.",
     "Very large: the file gives a negative number. 0: it gives no number."},
    {Id::MacAddress, Kind::SupervisorStarted, other, "mac address {mac}",
     "The supervisor starts and has read the address of wlan0, which is the device's name in the "
     "cloud.",
     ""},
    {Id::GotToken, Kind::Detail, other, "Get enr successfully",
     "The device's token was read.",
     ""},
    {Id::NoIdentity, Kind::IdentityMissing, other, "Init HttpRequest Instance failed",
     "The device does not know who it is: wlan0 is not up or, where a line with its address "
     "precedes, there is no token.",
     "Bring wlan0 up, or put a line r_encr=TOKEN into /etc/config/.user_config; it is tried "
     "every 5 seconds."},
    {Id::CurlCode, Kind::TransferFailed, component, "Curl return code {code#}",
     "A transfer failed; the next line says which. The code is libcurl's.",
     "See what the code means: `tolvar log` says it with the event."},
    {Id::ListAnswered, Kind::Detail, other, "Get processes from domain {domain}, status {status#}",
     "The list of processes, or the last known good version of one, was asked for. 0: answered; "
     "2: the transfer failed.",
     ""},
    {Id::NoAnswerForList, Kind::FetchFailed, other, "Failed to get processes for version {label}",
     "The list of processes was not fetched. What runs, runs on. Without a line of the request "
     "before it, the token could not be read.",
     "See the transfer before it; a running supervisor tries again after a whole interval, one "
     "that starts after 5 seconds."},
    {Id::ParsedComponent, Kind::Detail, other, "Parsed component {file}, version {version}",
     "The answer lists this file in this version; of which process, the line does not say.",
     ""},
    {Id::NoList, Kind::ManifestUnusable, other, "Failed to parse processes from {answer}",
     "The cloud answered, but not with a list of processes. What runs, runs on.",
     "Read the answer in the line: an error page, or a manifest with a field missing. Mend it in "
     "the cloud."},
    {Id::NewVersion, Kind::NewVersion, other, "Wait to stop process {process} for upgrading",
     "The list has another version of the process than the one that runs. It is fetched ahead "
     "and switched to unless the process says that it is busy.",
     ""},
    {Id::Dropped, Kind::Dropped, other, "Stop unused process {process}",
     "The list no longer has the process: it is killed and forgotten.",
     "Put it back under the label \"latest\" if that was not meant."},
    {Id::GotList, Kind::Fetched, other, "Got {count#} processes from cloud",
     "The list of processes was fetched; so many are supervised now.",
     ""},
    {Id::BootstrapLatest, Kind::Detail, other, "Get latest version processes succeeded",
     "The supervisor has its first list, of the label \"latest\".",
     ""},
    {Id::BootstrapLastGood, Kind::FellBack, other,
     "Get last known good version processes succeeded",
     "The supervisor could not use the list \"latest\" at its start and took \"lastknowngood\". "
     "The next fetch asks for \"latest\" again.",
     "Mend the list \"latest\"."},
    {Id::LastGoodFailed, Kind::Detail, other, "Get last known good version processes failed",
     "At the start: neither label gave a usable list, it is tried again after 5 seconds. Later: "
     "the last known good version of a process could not be asked for.",
     "See the lines before it for what failed."},
    {Id::FetchFailed, Kind::Detail, other, "Get latest processes failed",
     "A fetch failed, as the line before it says. The set of processes stays; next attempt after "
     "a whole interval.",
     ""},
    {Id::LocationAnswered, Kind::Detail, component,
     "Get download location from domain {domain}, status {status#}",
     "The cloud was asked where a file is. 0: answered; 2: the transfer failed.",
     ""},
    {Id::ParsedLocation, Kind::Detail, component,
     "Parsed component info: name {file}, version {version}, url {url}",
     "The cloud has said where the file is.",
     ""},
    {Id::NoLocation, Kind::Detail, component,
     "GetDownloadLocation failed for component {file} of process {process}",
     "The cloud could not be asked where the file is.",
     "See the transfer before it; without one, the token could not be read."},
    {Id::LocationUnusable, Kind::Detail, component,
     "Parse download url failed for component {file}, response {answer}",
     "The cloud's answer does not say where this file in this version is.",
     "Read the answer in the line: the cloud does not know the file, or in another version."},
    {Id::FileAnswered, Kind::Detail, component, "Get response from url {url}, status {status#}",
     "The file was asked for. 0: answered, even if with an error page; 2: the transfer failed.",
     ""},
    {Id::NoFile, Kind::Detail, component, "GetResponse failed for component {file}",
     "The file could not be downloaded.",
     "See the transfer before it."},
    {Id::NoDirectory, Kind::Detail, component, "Failed to create dir {path}",
     "The folder of a file is not there and could not be made.",
     "A read-only or full file system, a file where a folder must be, or a path directly under "
     "\"/\"."},
    {Id::CannotOpen, Kind::Detail, component, "Failed to open file {path}",
     "A file could not be opened, to be written or to be checked.",
     "A read-only or full file system, or rights that are missing."},
    {Id::CannotWrite, Kind::StorageFailed, component, "WriteToPath failed for path {path}",
     "A downloaded file could not be put in place.",
     "Look at the file system of the path: full, read-only, or not mounted."},
    {Id::Compared, Kind::Detail, component, "CheckIntegrity {computed} vs. {expected}",
     "The MD5 of a file on the device and the one that the list gives. Different ones only say "
     "that a copy is stale, and the next place is tried.",
     ""},
    {Id::Mismatch, Kind::ComponentBad, component,
     "CheckIntegrity failed for path {path}, checksum {expected}",
     "A file is not what the list says, after it was downloaded. It is not used.",
     "Compare the file in the cloud with the checksum of the list. MD5 sums are written in small "
     "letters there; capitals never match. An empty file (d41d8cd9...): the device's storage is "
     "full."},
    {Id::Downloaded, Kind::Downloaded, component,
     "Downloaded component: name {file}, version {version}",
     "The file was downloaded and is what the list says.",
     ""},
    {Id::FoundCached, Kind::Detail, component,
     "Found cached component: name {file}, version {version}",
     "The right file was in place already, or on the SD card; nothing was downloaded.",
     ""},
    {Id::FoundAhead, Kind::Detail, component,
     "Found pre-downloaded component: name {file}, version {version}",
     "The file that was fetched ahead is put in place.",
     ""},
    {Id::FetchedAhead, Kind::FetchedAhead, other,
     "Pre-download all components for process {process}",
     "All files of the new version are on the device. If no launch follows at once, the process "
     "said that it is busy.",
     ""},
    {Id::NotFetchedAhead, Kind::FetchAheadFailed, other,
     "Failed to pre-download components for process {process}",
     "The new version's files could not be fetched ahead. Unless the process is busy, it is "
     "stopped all the same, and the launch fetches them.",
     "See the lines before it for the file."},
    {Id::CannotStop, Kind::Detail, other, "Cannot stop process {process}",
     "The process could not be stopped before its launch.",
     ""},
    {Id::NoComponents, Kind::Detail, other, "Failed to get components for process {process}",
     "A file of the process is missing or does not verify: it is not started.",
     "See the lines before it for the file."},
    {Id::Launched, Kind::Launched, other, "Launched process {process}",
     "The entry point was run. Whether it worked, only heartbeats tell: its exit status is not "
     "looked at.",
     ""},
    {Id::LaunchSucceeded, Kind::Detail, other, "Launch process {process} successfully",
     "As \"Launched process\"; the back-off is 2 seconds again.",
     ""},
    {Id::LaunchFailed, Kind::LaunchFailed, other, "Launch process {process} unsuccessfully",
     "The process was not started. The next attempt waits 4, 8, 16, 32, then always 64 seconds.",
     "See the lines before it. Without any, the shell could not be run: the host must not ignore "
     "SIGCHLD."},
    {Id::HeartbeatLost, Kind::HeartbeatLost, other,
     "Process {process} failed to report heartbeat, heartbeatMissing {count#}",
     "The process is past its start-up time and its newest heartbeat is too old: it hangs, died, "
     "or never started. It is killed and started again. The count is since the last report.",
     "Look at the process's own log. Right after each launch: the entry point does not start it, "
     "or it never sends."},
    {Id::RolledBack, Kind::RolledBack, other, "Process {process} rollback to version {version}",
     "The retries are used up: the last known good version replaces the one that fails.",
     "Take the failing version from the label \"latest\", or the next fetch brings it back."},
    {Id::LastGoodUnusable, Kind::Detail, other,
     "Parse last known good version response failed, {answer}",
     "The cloud's answer is no last known good version.",
     "Read the answer in the line and mend the label \"lastknowngood\"."},
    {Id::LastGoodEmpty, Kind::Detail, other, "Empty processes, rollback {process} failed",
     "The cloud knows no last known good version of the process.",
     "Put one under the label \"lastknowngood\"."},
    {Id::LastGoodOther, Kind::Detail, other,
     "Rollback from process {process} to {other}, looks wrong!",
     "The cloud answered with another process; it is not used.",
     "The cloud must answer with only the process that was asked for, and in the same capitals."},
    {Id::RollbackFailed, Kind::RollbackFailed, other, "Rollback process {process} unsuccessfully",
     "There is no usable last known good version. The process goes on being started again.",
     "Put a version that works under the label \"lastknowngood\"."},
    {Id::Report, Kind::VersionReported, other, "{\"processes\":[{report}",
     "The report to the metrics service: each process's version, state and failures since the "
     "last report. The one line that says which version runs.",
     ""},
}};
// clang-format on

}  // namespace

const Catalogue& TheCatalogue() { return catalogue; }

}  // namespace devicelog
