"""What `nuv info` tells, and what the program says of itself and of commands that mean nothing."""

import shutil

# pylint: disable=line-too-long
ROWS = (
    (0, "nuv info in.ppm fax_t6.tif photo.jpg", "", "in.ppm      33x17  3x8  rgb           PNM, uncompressed\nfax_t6.tif  13x5   1x1  gray-reverse  TIFF, facsimile T.6\nphoto.jpg   33x17  3x8  ycbcr         JPEG (JFIF), sequential 4:2:0, quality 90", ""),
    (1, "nuv info text missing folder fifo in.ppm", "", "in.ppm  33x17  3x8  rgb  PNM, uncompressed", "nuv: text: *\nnuv: missing: *No such file*\nnuv: folder: *\nnuv: fifo: *"),
    (0, "cp palette.png ü.png; nuv info ü.png palette.png", "ü.png", "ü.png        *PNG, 7 colours\npalette.png  *", ""),
    (0, "nuv info refused_lzw.tif", "", "*TIFF, LZW (not served)", ""),
    (1, "nuv info --verify refused_lzw.tif", "", "*(not served)", "nuv: refused_lzw.tif: *not served: the coding 'lzw' (compression 5)."),
    (0, "nuv info --verify in.ppm - <photo.jpg", "", "in.ppm *, whole\n- *JPEG*, whole", ""),
    (1, "nuv info --verify cut.ppm half.jpg", "", "cut.ppm *uncompressed\nhalf.jpg *damaged from line *", "nuv: cut.ppm: *damaged: line 9 of 17 is not there as a whole, at byte 900.\nnuv: half.jpg: *damaged from line *"),
    (2, "nuv info --verify -q half.jpg", "", "half.jpg *damaged from line *", ""),
    (0, "nuv info cut.ppm half.jpg", "", "cut.ppm *\nhalf.jpg *", ""),
    (0, "nuv info --json photo.jpg", "", '{"file":"photo.jpg","page":0,"kind":"jfif","coding":"sequential","width":33,"height":17,"channels":3,"bits":8,"color":"ycbcr","sampling":"4:2:0","quality":90,"resolution":null,"orientation":null,"verified":null,"damaged_line":null,"error":null,"palette":null}', ""),
    (1, "nuv info --json --verify --page 1 $'\\xff' two_pages.tif", "", '*"file":"\\ufffd",*"width":null*"error":{"status":"io",*}*\n*"page":1,*"verified":"whole"*', "nuv: \\xff: *"),
    (2, "nuv info --json --verify half.jpg | tail -n 1; exit ${PIPESTATUS[0]}", "", '*"verified":"mended","damaged_line":*', "nuv: *"),
    (1, "nuv info --json --verify cut.ppm", "", '*"verified":"failed","damaged_line":null,"error":{"status":"damaged","message":*,"byte":900,"line":9},*', "nuv: *"),
    (0, "nuv info --verify --progress in.ppm photo.jpg 2>&1 >folder/o | tail -n 1", "", "nuv: 100%  2 of 2 pictures", ""),
    (0, "script -qec 'nuv info --verify --progress in.ppm photo.jpg' /dev/null", "", "\n[###*%  * of 2 pictures*\x1b[Kin.ppm *", ""),
    (0, "printf 'P5 2000000000 1 255\\n' >wide; nuv info wide", "wide", "wide  2000000000x1  *(beyond the limits)", ""),
    (1, "nuv info --verify --max-pixels 560 in.ppm gray.pgm", "", "in.ppm *(beyond the limits)\ngray.pgm *(beyond the limits)", "nuv: in.ppm: A limit*560 are allowed (--max-pixels).\nnuv: gray.pgm: *"),
    (1, "cat in.ppm | nuv info /dev/stdin", "", "", "nuv: /dev/stdin: *regular file. (The name of standard input is -.)"),
    (1, "nuv info - <&-", "", "", "nuv: standard input: *Bad file descriptor."),
    (1, "nuv info --json --max-memory 1 in.ppm gray.pgm", "", '*"in.ppm"*"status":"no-memory",*"byte":null,"line":null},*\n*"gray.pgm"*"no-memory"*', "nuv: in.ppm: There is not enough memory*\nnuv: gray.pgm: *"),
    (1, "nuv info --json --verify --timeout 1e-9 in.ppm", "", '*"verified":null,*"error":{"status":"cancelled","message":"It takes*', "nuv: in.ppm: It takes longer than is allowed (--timeout)."),
    (1, "nuv info --page 2 two_pages.tif", "", "", "nuv: two_pages.tif: There is no page 2 in the source."),
    (64, "nuv info --max-memory x in.ppm", "", "", "nuv: --max-memory takes a number*"),
    (1, "nuv info in.ppm >/dev/full", "", "", "nuv: standard output: No space left on device"),
    (1, "nuv --version >/dev/full", "", "", "nuv: standard output: No space left on device"),
    # Usage, and words that come near.
    (64, "nuv", "", "", "nuv: which command?*"),
    (64, "nuv convart", "", "", "nuv: unknown command 'convart': did you mean convert?"),
    (64, "nuv wurst; nuv version", "", "", "nuv: unknown command 'wurst'; see nuv --help\nnuv: unknown command 'version': did you mean --version?"),
    (64, "nuv info in.ppm --page; nuv convert in.ppm -o a.jpg -o b.jpg", "", "", "nuv: --page takes one value\nnuv: --output takes one value"),
    (64, "nuv --versoin", "", "", "nuv: unknown option '--versoin': did you mean --version?"),
    (64, "nuv info", "", "", "nuv: FILE is required"),
    (64, "nuv info --jsno in.ppm", "", "", "nuv: unknown option '--jsno': did you mean --json?"),
    (64, "nuv info in.ppm --page x", "", "", "nuv: *--page*"),
    (64, "nuv convert", "", "", "nuv: SRC is required"),
    (64, "nuv convert in.ppm", "", "", "nuv: DST is required*"),
    (64, "nuv convert in.ppm o.jpg roate=90", "", "", "nuv: unknown word 'roate': did you mean rotate?"),
    (64, "nuv help q", "", "", "nuv: unknown topic 'q'; see nuv help"),
    (64, "nuv help fti", "", "", "nuv: unknown topic 'fti': did you mean fit?"),
    (64, "nuv help a b", "", "", "nuv: unexpected argument 'b'"),
    # Help: of the program, of all commands and words, and whole.
    (0, "nuv --help; nuv help | cmp - <(nuv -h)", "", "Usage: nuv COMMAND*Commands:\n  info  *  crop=X,Y,WxH  *SIZE is one of\n*\nExamples:\n  nuv *\n  nuv *\n  nuv *\n  nuv *\n  nuv *", ""),
    (0, "for t in $(nuv help all | sed -n '/^Commands/,/^$/s/^  \\([a-z-]*\\) .*/\\1/p') $(nuv help all | sed -n '/^Words/,/^$/s/^  \\([a-z-]*\\).*/\\1/p'); do nuv help $t >folder/$t || exit 1; done; cd folder; [ $(ls | wc -l) -ge 20 ] && ! find . -empty -type f | grep .; nuv help convert | cmp - <(nuv convert --help)", "", "", ""),
    (0, "nuv help rotate; nuv help convert=", "", "nuv convert ... rotate=DEGREES\n*multiple of 90*\nnuv convert ... convert=SLOPE*", ""),
    (0, "nuv help | awk 'length > 100'", "", "", ""),
    # What shells are told, and what bash makes of it.
    (0, "nuv complete con; nuv complete convert a b col; nuv complete convert a -o c rotate=9; nuv complete convert in.p; nuv complete convert --quality 90 a col; nuv complete convert a b --sampling 41; nuv complete info --max-memory ''; nuv complete info --js; nuv complete help mirror-; nuv complete --ver; nuv complete", "", "convert\t*\ncolor=\t*\nrotate=90\n411\n--json\t*\nmirror-x\nmirror-y\n--version\t*", ""),
    (0, "source $NUV_SOURCE/completion/nuv.bash; t() { COMP_LINE=$1 COMP_POINT=${#1}; _nuv; echo ${COMPREPLY[*]}; }; t 'nuv thu'; t 'nuv convert a\\ b c color=itu'; t 'nuv convert '; t 'nuv info --verify --pr'", "", "thumbnail\nitu-lab\n\n--progress", ""),
    # Control characters, and bytes that are no text, do not reach a terminal.
    (1, r"nuv info $'\\\e[31m\n\x80é\u202e\u009b\xc1\x81'", "", "", r"nuv: \\\x1b[31m\n\x80é\xe2\x80\xae\xc2\x9b\xc1\x81: *"),
)

# What other shells make of the completion, where they are: a line that is typed, tabs included.
IN_SHELLS = {
    "fish": (0, "fish --no-execute $NUV_SOURCE/completion/nuv.fish && fish -c 'source $NUV_SOURCE/completion/nuv.fish; for t in \"nuv thu\" \"nuv convert a b color=itu\" \"nuv info in.p\"; complete -C $t; end'", "", "thumbnail\t*\ncolor=itu-lab\t*\nin.ppm*", ""),
    "zsh": (0, "zsh -n $NUV_SOURCE/completion/_nuv && echo \"fpath=($NUV_SOURCE/completion \\$fpath); autoload -U compinit; compinit -u -D\" >folder/.zshrc; printf 'nuv thu\\t--help\\nnuv convert in.p\\to.ppm inv\\t\\nexit\\n' | ZDOTDIR=folder script -qec 'zsh -i' /dev/null | grep -ao 'Usage: nuv thumbnail'", "o.ppm", "Usage: nuv thumbnail", "", "pnminvert in.ppm | cmp - o.ppm"),
}
ROWS += tuple(row for shell, row in IN_SHELLS.items()
              if shutil.which(shell) or print(f"{shell} is not there: its completion is not tried"))
