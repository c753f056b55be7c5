#!/usr/bin/env bash

# Checks that script/bootstrap leaves the services of what it installs disabled, and those of others alone. The package
# manager and the service manager of the machine are replaced by small ones in the path.
set -euo pipefail
# shellcheck source-path=SCRIPTDIR
source "$(dirname "${BASH_SOURCE[0]}")/small_tree.sh"
cp "$commands/bootstrap" script/bootstrap

# All is installed but snmpd, until apt-get is asked for it.
mkdir path
cat >path/dpkg-query <<'WORDS'
#!/usr/bin/env bash
cd "$(dirname "$0")"
sed -n '/^packages/,/^)/p' ../script/bootstrap | tr '=()' '\n\n\n' | tr -s ' ' '\n' | grep -v '^snmpd$' |
  sed '/./s/$/:amd64 installed/; s/\(:i386\):amd64/\1/'
[[ ! -e installed ]] || echo 'snmpd:amd64 installed'
WORDS
cat >path/dpkg <<'WORDS'
#!/bin/sh
case $1 in --print-architecture) echo amd64 ;; --print-foreign-architectures) echo i386 ;; esac
WORDS
cat >path/apt-get <<'WORDS'
#!/bin/sh
cd "$(dirname "$0")"
case $* in *install*snmpd*) touch installed && printf 'agent.socket\nsnmpd.service\n' >>enabled ;; esac
WORDS
cat >path/systemctl <<'WORDS'
#!/usr/bin/env bash
cd "$(dirname "$0")"
[[ $1 == --root=/ ]] || exit 1 # the one that runs is not asked: there may be none
case $2 in
  list-unit-files) sed 's/$/ enabled enabled/' enabled ;;
  disable) for unit in "${@:3}"; do sed -i "/^$unit\$/d" enabled; done ;;
esac
WORDS
# What is done as root is done here but for what writes to the machine's folders.
cat >path/env <<'WORDS'
#!/usr/bin/env bash
cd "$(dirname "$0")"
echo "${*:2}" >>as_root
case $2 in apt-get | systemctl) exec "./$2" "${@:3}" ;; esac
WORDS
printf '#!/bin/sh\nexec "$@"\n' >path/sudo
chmod +x path/*
printf 'mine.service\nsnmpd-like.service\n' >path/enabled
: >path/as_root

PATH=$tree/path:$PATH bash script/bootstrap --snmp >output 2>&1 || {
  cat output
  fail "it does not install what is missing"
}
[[ -e path/installed ]] || fail "nothing was installed: $(cat output path/as_root)"
[[ $(xargs <path/enabled) == 'mine.service snmpd-like.service' ]] || fail "these are enabled now: $(xargs <path/enabled)"
# An administrator may have a policy already.
[[ -e /usr/sbin/policy-rc.d ]] || grep -q '^sh -c .*policy-rc.d' path/as_root ||
  fail "services start while they are installed"

# With everything in place it touches nothing.
: >path/as_root
PATH=$tree/path:$PATH bash script/bootstrap --snmp
[[ ! -s path/as_root ]] || fail "it does something as root: $(cat path/as_root)"
