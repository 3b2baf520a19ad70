# The scripts of this folder source this file first. It handles --help, which prints the comment at the top of a script,
# and defines `usage`, which prints the same as an error.
print_usage() { sed -n '1d; /^#/!q; s/^# \{0,1\}//p' "$0"; }

usage() {
    print_usage >&2
    exit 2
}

case ${1-} in -h | --help)
    print_usage
    exit 0
    ;;
esac
