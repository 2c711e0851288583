#!/usr/bin/env bash
# Beyond localhost the settings pages need a login: the server refuses to listen there without
# one, and with an access password the settings page shows the login form instead. On
# localhost no login is asked. 127.0.0.2 stands for a network address (it is still loopback).
. "$PRINTER_TESTS/server.sh"

mkdir -p "$WORK/spool"
if "$ZELPGEN_PRINTER" server -o server-port=1 -o listen-hostname=127.0.0.2 \
  -o spool-directory="$WORK/spool" >"$WORK/refused.txt" 2>&1; then
  fail "the server listened beyond localhost without a login"
fi
grep -q "needs a login" "$WORK/refused.txt" || fail "no reason given: $(cat "$WORK/refused.txt")"

server_start
web_get /config >"$WORK/local.html"
grep -q 'name="password"' "$WORK/local.html" && fail "a login was asked on localhost"
grep -q "HTTP/1.1 200" "$WORK/local.html" || fail "no settings page on localhost"
server_stop

echo "an access password" >"$WORK/password"
SERVER_HOST=127.0.0.2
server_start -o listen-hostname=127.0.0.2 -o password-file="$WORK/password"
for page in /config /security /addprinter; do
  web_get "$page" >"$WORK/remote.html"
  grep -q 'name="password"' "$WORK/remote.html" || fail "$page opened without a login"
done
echo "login_test: settings need a login beyond localhost"
