#pragma once

namespace qsvmon {

/// `malclog list`: the malicious events that the management daemon has kept, one by one or summed
/// up by destination, source, application, signature or host, as JSON without a final newline.
/// The words are those after the sub-command (malc_query.h). Returns 0, or -1 after a line that
/// says why: an error word of the query, or what the daemon or the transport answered.
/// REQUIRES: a session with the management daemon.
///
/// The source parses the words and makes what every listing needs; malc_listing.cpp holds one short
/// pipeline for each list type, of the same steps as tcpreset/tcpreset.cpp.
int malclog_list(int argc, char** argv);

}  // namespace qsvmon
