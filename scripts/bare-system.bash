# To be sourced by scripts that try something on a bare Debian system, as a user's machine is before anything
# of ours: what mmdebstrap makes, with no package but the essential ones and apt. The system lives in a
# folder, its mounts in a namespace of the script's own; both are gone when the script ends.
# Such scripts end with 77 where the machine does not let them.

cannot_run() {
  echo "$(basename "$0"): skipped: $*" >&2
  exit 77
}

# enter_namespace "$0" "$@": the script starts anew with mounts that nobody else sees.
enter_namespace() {
  [[ -z ${QUORRIN_IN_NAMESPACE-} ]] || return 0
  if ((EUID != 0)) || ! unshare --mount --propagation private mount -t proc proc /proc 2>/dev/null; then
    cannot_run "needs root and mounts of its own"
  fi
  QUORRIN_IN_NAMESPACE=1 exec unshare --mount --propagation private "scripts/$(basename "$1")" "${@:2}"
}

# The release that this machine runs, as bookworm or trixie.
own_suite() {
  (. /etc/os-release && echo "$VERSION_CODENAME")
}

# debian_sources SUITE: where this machine has its packages from, for another release.
debian_sources() {
  apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    sed -nE "s/ $(own_suite)(|-updates|-security) main$/ $1\1 main/p" | sort -u
}

# make_bare_system SUITE [OPTION...]: sets $system to the folder of the new system. Options are mmdebstrap's.
make_bare_system() {
  local suite=$1 sources
  shift
  scripts/setup bare-systems || cannot_run "mmdebstrap cannot be installed"
  sources=$(debian_sources "$suite")
  system_folder=$(mktemp -d --tmpdir "quorrin-$suite.XXXXXX")
  trap remove_bare_system EXIT
  system=$system_folder/system
  # Without sources of this machine's own (no Debian), mmdebstrap's.
  mmdebstrap --quiet --mode=root --variant=minbase --skip=cleanup/apt/lists "$@" "$suite" "$system" \
    ${sources:+-} <<<"$sources" || cannot_run "no bare $suite can be made here"
  echo 'Acquire::Retries "3";' >"$system/etc/apt/apt.conf.d/retries"
  mount -t proc proc "$system/proc"
  cp /etc/hosts /etc/resolv.conf "$system/etc/"
  # No service is started here.
  printf '#!/bin/sh\nexit 101\n' >"$system/usr/sbin/policy-rc.d"
  chmod +x "$system/usr/sbin/policy-rc.d"
}

remove_bare_system() {
  umount "$system/proc" 2>/dev/null || true
  rm -rf --one-file-system "$system_folder"
}

# inside COMMAND...: runs it in the bare system.
inside() {
  local proxy=()
  [[ -z ${http_proxy-} ]] || proxy=("http_proxy=$http_proxy")
  chroot "$system" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 \
    DEBIAN_FRONTEND=noninteractive "${proxy[@]}" "$@"
}

# install_inside PACKAGE...: as a user does; what apt says is shown when it fails.
install_inside() {
  inside apt-get install -qq -y "$@" >"$system_folder/apt.log" 2>&1 || {
    cat "$system_folder/apt.log" >&2
    return 1
  }
}
