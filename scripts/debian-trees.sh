# Private Debian trees in the cache folder, for the scripts that run something on a Debian of its own. To be sourced by
# bash. The caller sets the variable `script` to its name, for the messages.

readonly CACHE=${XDG_CACHE_HOME:-$HOME/.cache}/imageformat_mp4

say() { printf '%s: %s\n' "$script" "$*"; }
fail() { printf '%s: %s\n' "$script" "$*" >&2; exit 1; }

# need_root: for chroot and mounts.
need_root() { [ "$(id -u)" -eq 0 ] || fail "needs root, for chroot and mounts"; }

# lock_tree NAME: for this process alone, until it ends. Fails at once when another process has it.
lock_tree()
{
    mkdir -p "$CACHE"
    exec 9>"$CACHE/$1.lock"
    flock --nonblock 9 || fail "another run uses $CACHE/$1"
}

# make_tree NAME RELEASE FINISH ARGUMENT...: makes $CACHE/NAME, a tree of that Debian release. The arguments are
# mmdebstrap's. FINISH is called with the tree's path before the tree is whole. The caller has the lock. The tree has
# another name until it is whole.
make_tree()
{
    local tree=$CACHE/$1 release=$2 finish=$3
    shift 3
    "$checkout/scripts/install-packages" trees
    say "makes $tree (mmdebstrap)"
    rm -rf "$tree.part"
    mmdebstrap --quiet "$@" "$release" "$tree.part" || fail "mmdebstrap failed"
    "$finish" "$tree.part"
    mv "$tree.part" "$tree"
}

# in_name_space COMMAND...: runs the command where mounts and processes are its own. They end with it, however it ends.
# The command ends with this script.
in_name_space() { setpriv --pdeathsig KILL unshare --mount --pid --fork --kill-child "$@"; }
