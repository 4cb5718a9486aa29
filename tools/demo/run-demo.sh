#!/usr/bin/env bash
# The Orvanta demo: the host simulator (orvanta) tells a short story against
# the reference server (orvanta-devserver) on a free loopback port:
#   first launch (event 20), registration and login, custom events with typed
#   payloads, an outage during which messages wait in the offline queue, the
#   server's return with the queue replayed in order, a later launch (21), and
#   a notification received twice, opened twice and received again after a
#   restart, reported delivered once and opened once, and in-app rules: a
#   launch rule replayed when the rules arrive, a product event matched by a
#   rule's filter, a cap that stops the third showing, and the trace of an
#   event that showed nothing.
# It prints what the library sent as it happened, then the server's timeline
# of what it received, and a verdict. Exit status 0 only when nothing was lost.
#
#   tools/demo/run-demo.sh BUILD_DIR [--serve]
#
# The demo's files stay in BUILD_DIR/demo (replaced by the next run). The
# server stops with the demo unless --serve is given: then it keeps serving its
# live page until Ctrl-C. The last lines say how to start it again on what it
# received, to browse at leisure.
set -euo pipefail

usage() { echo "usage: $0 BUILD_DIR [--serve]" >&2; exit 2; }
[ $# -ge 1 ] || usage
build=$(cd "$1" && pwd)
serve=false
case $# in
  1) ;;
  2) [ "$2" = "--serve" ] || usage; serve=true ;;
  *) usage ;;
esac

cli="$build/tools/cli/orvanta"
devserver="$build/tools/devserver/orvanta-devserver"
for program in "$cli" "$devserver"; do
  [ -x "$program" ] || { echo "$program is missing: build first (make build)" >&2; exit 2; }
done
for tool in curl jq; do
  command -v "$tool" > /dev/null || { echo "$tool is missing: run scripts/install-deps.sh" >&2; exit 2; }
done

demo="$build/demo"
rm -rf "$demo"
mkdir -p "$demo"
app_home="$demo/app"
received="$demo/received.sqlite"

server_pid=""
stop_server() {
  if [ -n "$server_pid" ]; then
    kill "$server_pid" 2> /dev/null || true
    wait "$server_pid" 2> /dev/null || true
    server_pid=""
  fi
}
trap stop_server EXIT

# The server holds each rules document 1.1 s: a rule may show only once more
# than a whole second has passed since the app's start-up, so an app that
# gets its rules at once shows nothing until its second event.
mkdir -p "$demo/rules"
"$devserver" --port 0 --print-json --db "$received" --rules-dir "$demo/rules" --rules-delay-ms 1100 \
  > "$demo/server.out" 2> "$demo/server.err" &
server_pid=$!
for _ in $(seq 100); do
  [ -s "$demo/server.out" ] && break
  kill -0 "$server_pid" 2> /dev/null || { cat "$demo/server.err" >&2; exit 1; }
  sleep 0.1
done
addresses=$(head -n 1 "$demo/server.out")
tracking=$(jq -r .tracking <<< "$addresses")
rules=$(jq -r .rules <<< "$addresses")
control=$(jq -r .control <<< "$addresses")
page=$(jq -r .page <<< "$addresses")

bold=""; plain=""
if [ -t 1 ]; then bold=$'\e[1m'; plain=$'\e[0m'; fi
chapter() { printf '\n%s== %s%s\n' "$bold" "$*" "$plain"; }

# Every message the app handed to the library, as "method eventid" ("-" for
# none): one launch event per launch (20 on the first, 21 after), plus one per
# answer line the CLI prints for its command ("track 101 -> 200").
handed=()
launched=false
# Every "popup RULEID" line, in order.
popups=()

message_key() {
  case "$1" in
    track\ *) echo "app_activity ${1#track }" ;;
    register) echo "pn_register 25" ;;
    login) echo "pn_login 22" ;;
    logout) echo "pn_logout 23" ;;
    profile) echo "profilePush -" ;;
    *) echo "unknown $1" ;;
  esac
}

# An argument as it would be typed: quoted when the shell needs it.
typed() {
  local word out=""
  for word in "$@"; do
    if [[ $word =~ ^[A-Za-z0-9._/:=@-]+$ ]]; then out+=" $word"; else out+=" '$word'"; fi
  done
  printf '%s' "${out# }"
}

# One launch of the app, its output indented; the library's own log lines go
# to orvanta.log. A launch that ends with messages still queued exits 1,
# which the outage chapter expects.
app() {
  printf '$ orvanta %s\n' "$(typed "$@")"
  local out status=0
  out=$("$cli" --home "$app_home" --app-id demo-app --bundle-id io.orvanta.demo \
    --tracking-url "$tracking" --rules-url "$rules" "$@" 2>> "$demo/orvanta.log") || status=$?
  sed 's/^/    /' <<< "$out"
  case "$1" in --wait) shift 2 ;; esac
  case "$1" in
    queue | inbox | state) ;;
    *)
      if $launched; then handed+=("app_activity 21"); else handed+=("app_activity 20"); fi
      launched=true
      ;;
  esac
  local label
  while IFS= read -r label; do
    handed+=("$(message_key "$label")")
  done < <(grep -v '^http ' <<< "$out" | grep ' -> ' | sed 's/ -> .*//')
  while IFS= read -r label; do
    popups+=("$label")
    handed+=("app_activity 41")
  done < <(sed -n 's/^popup \([^ ]*\) layout .*/\1/p' <<< "$out")
  # What the user did with a popup is reported: a click as 42, a close as 43.
  local clicks closes
  clicks=$(grep -c '^popup clicked' <<< "$out" || true)
  closes=$(grep -c '^popup closed' <<< "$out" || true)
  for ((i = 0; i < clicks; i++)); do handed+=("app_activity 42"); done
  for ((i = 0; i < closes; i++)); do handed+=("app_activity 43"); done
  return $status
}

server_control() {
  printf '$ curl -d %s <control API>\n' "'$1'"
  curl -sS --fail -d "$1" "$control" > /dev/null
}

chapter "The reference server listens on $page"

chapter "First launch of a fresh installation: launch event 20"
app start

chapter "The user registers the device with its push token, then logs in"
app register alice --token 9f86d081884c7d659a2feaa0c55ad015
app login alice

chapter "Custom events with typed payloads (s^ text, i^ integer, f^ decimal)"
app track 101 '[{"s^name":"running shoe","i^qty":1,"f^price":89.90}]'
app track 102 '{"s^name":"socks","i^qty":3,"f^price":4.5}'

chapter "Outage: the server goes down; messages wait in the offline queue"
server_control '{"down":true}'
app --wait 1 track 103 '{"s^name":"cap","i^qty":1,"f^price":15}' || true
app --wait 1 profile alice '{"s^city":"Oslo","i^age":41}' || true

chapter "What the app keeps in its offline queue, oldest first"
printf '$ orvanta queue\n'
"$cli" --home "$app_home" queue > "$demo/queued.jsonl"
jq -r '(.data | ltrimstr("data=") | fromjson) as $m |
  "    row \(.id)  \(.method)  " + (if $m.eventid then "eventid \($m.eventid)" else "identity \($m.identity)" end)' \
  "$demo/queued.jsonl"

chapter "The server is back; the next launch (event 21) replays the queue in order"
server_control '{"up":true}'
# What arrives from here on and matches a queued row is that row's replay.
back_after=$(curl -sS --fail "${page}api/messages" | jq 'map(.seq) | max // 0')
app start

chapter "A later launch: nothing left to replay"
app start

chapter "A notification: received twice, opened twice (once from its action button), again after a restart"
# The app declares the scheme demoapp: the notification's own link goes to
# the app, its action button's web link to the system.
trid="spring-sale-7"
notification=$(jq -cn --arg trid "$trid" '{
  aps: {alert: {title: "Spring sale", body: "Half price on running shoes"}},
  payload: {trid: $trid,
            deeplink: "demoapp://offers/spring?__ktm_source=push&__ktm_medium=notification&__ktm_id=7",
            actionButton: [{actionDeeplink: "https://shop.example/spring|sale", actionName: "Shop now"}]}}')
app --scheme demoapp receive "$notification"
app --scheme demoapp receive "$notification"
app --scheme demoapp respond --state inactive "$notification"
app --scheme demoapp action "https://shop.example/spring|sale" "$notification"
app --scheme demoapp extension "$notification"
app inbox
# The inbox decides: one delivery report and one opening report.
handed+=("pn_deliver 12" "pn_open 13")

chapter "In-app rules: fetched at every launch, evaluated after every event"
# Rule 1 greets a later launch, twice in its campaign; rule 2 listens to
# event 101 for products whose category matches "shoes", twice too; rule 3 to
# the same event for "hats". The campaign is open every day, all day.
always='{"days":"monday,tuesday,wednesday,thursday,friday,saturday,sunday","from":"-1","to":"24:00"}'
jq -n --argjson always "$always" '{InAppRuleList: [
  {id: "1", fromDate: "2020-01-01T00:00:00", toDate: "2099-01-01T00:00:00", whatTo: "title=Welcome%20back", whereTo: "1",
   whomTo: {eventList: "21"}, whenTo: {frequency: 2, frequencyType: "campaign", campaign: $always}},
  {id: "2", fromDate: "2020-01-01T00:00:00", toDate: "2099-01-01T00:00:00", whatTo: "title=Shoes", whereTo: "4",
   whomTo: {eventList: "101", everyone: "new", filter: [{filter: "s^category", value: "shoes"}]},
   whenTo: {frequency: 2, frequencyType: "campaign", campaign: $always}},
  {id: "3", fromDate: "2020-01-01T00:00:00", toDate: "2099-01-01T00:00:00", whatTo: "title=Hats",
   whomTo: {eventList: "101", everyone: "new", filter: [{filter: "s^category", value: "hats"}]}}]}' \
  > "$demo/rules/demo-app.json"
printf '$ cat rules/demo-app.json   (on the rules server)\n'
jq -c '.InAppRuleList[]' "$demo/rules/demo-app.json" | sed 's/^/    /'
# The launch event (21) goes out before the rules arrive; their arrival
# replays it, and rule 1's banner shows at the top (reported 41). The user
# leaves every popup where it is unless --popup says otherwise.
app --quiet rules
# Rule 1 greets this launch too; rule 2's box (layout 4) then replaces it,
# with no report for the banner.
app --quiet track 101 '{"s^category":"Running shoes","f^price":89.9}'
# The user taps the page's link: reported 42 and opened by the system.
app --quiet --popup click=https://shop.example/shoes?from=popup track 101 '{"s^category":"Trail shoes","f^price":120}'
# On a phone held sideways, rule 3's full-screen page; the user closes it (43).
app --quiet --popup close --landscape track 101 '{"s^category":"hats","f^price":25}'
# The third showing of rule 2 is stopped by its cap; the dry run says why.
app --quiet track 101 '{"s^category":"Road shoes","f^price":99}'
app --quiet why 101 '{"s^category":"Road shoes","f^price":99}'

chapter "What the server received (every POST, with its answer)"
messages=$(curl -sS --fail "${page}api/messages")
printf '  %3s  %-12s  %-13s %4s  %-22s %-6s  %-23s %s\n' seq received method id event answer "" payload
# Two launches within one second send identical bodies, so a queued body is
# matched once, by the first arrival after the server came back.
jq -r --argjson after "$back_after" --slurpfile queued <(jq -s 'map(.data)' "$demo/queued.jsonl") '
  reduce .[] as $m ({left: $queued[0], rows: []};
    (if $m.seq > $after then (.left | index($m.body)) else null end) as $hit
    | .rows += [$m + {replayed: ($hit != null)}]
    | if $hit != null then .left |= del(.[$hit]) else . end)
  | .rows[]
  | [ (.seq | tostring), .received_at[11:23], .method,
      (if .eventid then (.eventid | tostring) else "-" end), .event, (.status | tostring),
      (if .replayed then "replayed from the queue" else "-" end),
      (.data.payload // .data.profileDetails // .data.trid // "" | if . == "" then "" else tojson end) ]
  | @tsv' <<< "$messages" |
  while IFS=$'\t' read -r seq time method eventid event status note detail; do
    [ "$note" = "-" ] && note=""
    printf '  %3s  %s  %-13s %4s  %-22s %-6s  %-23s %s\n' "$seq" "$time" "$method" "$eventid" "$event" \
      "$status" "$note" "$detail"
  done

# Every handed message must have been answered 200 at least once: the two
# lists are matched as multisets of "method eventid". What the server got
# beyond them is a duplicate (at-least-once delivery may send a message twice).
delivered=$(jq -r '.[] | select(.status == 200) | "\(.method) \(.eventid // "-")"' <<< "$messages" | sort)
sent_keys=$(printf '%s\n' "${handed[@]}" | sort)
missing=$(comm -23 <(echo "$sent_keys") <(echo "$delivered"))
lost=$(grep -c . <<< "$missing" || true)
duplicates=$(comm -13 <(echo "$sent_keys") <(echo "$delivered") | grep -c . || true)
sent=${#handed[@]}
# The notification's reports answered 200, per method.
notification_reports=$(jq -r --arg trid "$trid" '[.[] | select(.status == 200 and .data.trid == $trid) | .method]
  | "pn_deliver \(map(select(. == "pn_deliver")) | length), pn_open \(map(select(. == "pn_open")) | length)"' \
  <<< "$messages")

chapter "Verdict"
printf '(the library'"'"'s own log lines are in %s)\n' "$demo/orvanta.log"
if [ "$lost" -ne 0 ]; then
  printf 'never answered 200: %s\n' "$(paste -sd, - <<< "$missing")"
fi
[ "$duplicates" -eq 0 ] || printf '%d message(s) arrived more than once\n' "$duplicates"
port=$(sed -E 's|^http://127\.0\.0\.1:([0-9]+)/.*|\1|' <<< "$page")
if $serve; then
  printf 'The server keeps serving its live page at %s until Ctrl-C.\n' "$page"
else
  stop_server
  printf 'The server has stopped. To browse what it received at %s, start it again on its store:\n' "$page"
  printf '  %s --port %s --db %s\n' "$devserver" "$port" "$received"
fi
printf 'notification %s: %s (each once is right)\n' "$trid" "$notification_reports"
shown="${popups[*]}"
printf 'popups shown: %s (1 1 2 2 3 is right)\n' "$shown"
printf 'sent %d, received %d, lost %d\n' "$sent" "$((sent - lost))" "$lost"
if $serve; then
  trap 'stop_server; exit 0' INT TERM
  wait "$server_pid" || true
fi
[ "$lost" -eq 0 ] && [ "$notification_reports" = "pn_deliver 1, pn_open 1" ] && [ "$shown" = "1 1 2 2 3" ]
