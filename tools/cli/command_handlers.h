// The parse functions of the command table, one per command. Each reads its
// command's words and answers the action; see commands.cc for the table.
#pragma once

#include "cli/commands.h"

namespace orvanta::cli {

// tracking_commands.cc
Action parseStart(Arguments& words);
Action parseTrack(Arguments& words);
Action parseTrackMany(Arguments& words);
Action parseDeeplink(Arguments& words);

// identity_commands.cc
Action parseRegister(Arguments& words);
Action parseLogin(Arguments& words);
Action parseLogout(Arguments& words);
Action parseProfile(Arguments& words);

// notification_commands.cc
Action parseReceive(Arguments& words);
Action parseRespond(Arguments& words);
Action parsePresent(Arguments& words);
Action parseAction(Arguments& words);
Action parseLocal(Arguments& words);
Action parseLaunchFrom(Arguments& words);
Action parseExtension(Arguments& words);

// inapp_commands.cc
Action parseRules(Arguments& words);
Action parseWhy(Arguments& words);

// inspect_commands.cc
Action parseQueue(Arguments& words);
Action parseInbox(Arguments& words);
Action parseState(Arguments& words);

}  // namespace orvanta::cli
