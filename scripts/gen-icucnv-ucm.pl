#!/usr/bin/perl
# Writes ICU mapping files (.ucm) for the legacy Macintosh and Windows code
# pages that the naming table needs and that the system's ICU does not carry.
# The mappings come from Perl's Encode tables, read back by enumeration:
#
#   gen-icucnv-ucm.pl OUTDIR ICU-NAME=ENCODE-NAME ...
#
# writes OUTDIR/ICU-NAME.ucm for each pair. The build turns these into .cnv
# files (makeconv), packs them as "icucnv" (icupkg) and embeds the package.
#
# Every byte, and every two-byte sequence after a byte that is not a
# character on its own, is decoded strictly. A decoded sequence that encodes
# back to the same bytes is a round-trip mapping (|0), otherwise a
# decode-only one (|3). Each BMP code point is then encoded; one that encodes
# to bytes that decode to something else is an encode-only fallback (|1).
# The lead and trail bytes found make the state table of the two-byte codecs.
#
# Output depends only on the Encode tables, so a rebuild gives the same files.
use strict;
use warnings;

use Encode qw(find_encoding FB_QUIET);
use File::Spec;

# Perl's Mac Arabic and Mac Hebrew tables drop the ASCII-range bytes whose
# twins in 0xA0..0xFF are the right-to-left forms of the same characters; the
# Apple tables give both. A single-byte codec that leaves a byte below 0x80
# undecodable has it filled in here with the ASCII character: round trip if
# the codec cannot encode that character at all, decode-only otherwise.
# (The same rule gives 0x7F its DEL where Perl leaves it out.)
my $kFillAsciiHalf = 1;

# Apple's tables map some bytes to a character followed or preceded by a
# private-use "transcoding hint" (U+F860..U+F87F), which only serves Apple's
# own round trip; such mappings are decode-only here in any case. The hints
# are dropped from multi-character mappings so that decoded names carry no
# private-use marks. A byte mapped to a single private-use character keeps it.
my $kDropAppleHints = 1;

sub Usage {
    print STDERR "usage: $0 OUTDIR ICU-NAME=ENCODE-NAME ...\n";
    exit 2;
}

# Strict decode of a byte string: the text, or undef unless all of it decodes.
sub DecodeAll {
    my ($codec, $bytes) = @_;
    my $rest = $bytes;
    my $text = $codec->decode($rest, FB_QUIET);
    return undef if length($rest) != 0 || !defined($text) || length($text) == 0;
    return $text;
}

# Strict encode of a text: the bytes, or undef unless all of it encodes.
sub EncodeAll {
    my ($codec, $text) = @_;
    my $rest = $text;
    my $bytes = $codec->encode($rest, FB_QUIET);
    return undef if length($rest) != 0 || !defined($bytes) || length($bytes) == 0;
    return $bytes;
}

sub UnicodeField {
    my ($text) = @_;
    return join('', map { sprintf('<U%04X>', ord($_)) } split(//, $text));
}

sub BytesField {
    my ($bytes) = @_;
    return join('', map { sprintf('\\x%02X', ord($_)) } split(//, $bytes));
}

# "0-7f, 81-9f:1" style ranges from a sorted list of byte values, each range
# followed by the suffix (a next state, or nothing for a final byte).
sub Ranges {
    my ($suffix, @values) = @_;
    my @ranges;
    my $i = 0;
    while ($i < @values) {
        my $j = $i;
        ++$j while $j + 1 < @values && $values[$j + 1] == $values[$j] + 1;
        push @ranges, ($i == $j ? sprintf('%x', $values[$i]) : sprintf('%x-%x', $values[$i], $values[$j])) . $suffix;
        $i = $j + 1;
    }
    return @ranges;
}

sub WriteUcm {
    my ($path, $icuName, $encodeName) = @_;
    my $codec = find_encoding($encodeName) or die "$0: Encode has no codec '$encodeName'\n";

    my %mappings;  # bytes -> [unicode text, precision]
    my (@single, @lead, %trail);
    for my $b (0 .. 255) {
        my $byte = chr($b);
        my $text = DecodeAll($codec, $byte);
        if (defined $text) {
            push @single, $b;
            $mappings{$byte} = [$text];
            next;
        }
        my $isLead = 0;
        for my $t (0 .. 255) {
            my $pair = $byte . chr($t);
            my $pairText = DecodeAll($codec, $pair);
            next unless defined $pairText;
            $isLead = 1;
            $trail{$t} = 1;
            $mappings{$pair} = [$pairText];
        }
        push @lead, $b if $isLead;
    }
    my $multiByte = @lead > 0;

    if ($kFillAsciiHalf) {
        my %isLead = map { $_ => 1 } @lead;
        for my $b (0 .. 0x7F) {
            my $byte = chr($b);
            next if exists($mappings{$byte}) || $isLead{$b};
            $mappings{$byte} = [chr($b), defined(EncodeAll($codec, chr($b))) ? 3 : 0];
            push @single, $b;
        }
        @single = sort { $a <=> $b } @single;
    }

    for my $bytes (keys %mappings) {
        my $entry = $mappings{$bytes};
        next if defined $entry->[1];
        my $back = EncodeAll($codec, $entry->[0]);
        $entry->[1] = (defined($back) && $back eq $bytes) ? 0 : 3;
        if ($kDropAppleHints && $entry->[1] == 3 && length($entry->[0]) > 1) {
            (my $plain = $entry->[0]) =~ s/[\x{F860}-\x{F87F}]//g;
            $entry->[0] = $plain if length($plain) > 0;
        }
    }

    # Encode-only fallbacks: BMP code points, surrogates aside.
    my %fallbacks;  # unicode text -> bytes
    for my $cp (0 .. 0xFFFF) {
        next if $cp >= 0xD800 && $cp <= 0xDFFF;
        my $char = chr($cp);
        my $bytes = EncodeAll($codec, $char);
        next unless defined $bytes;
        my $entry = $mappings{$bytes};
        next if defined($entry) && $entry->[0] eq $char;
        $fallbacks{$char} = $bytes;
    }

    open(my $out, '>', $path) or die "$0: cannot write $path: $!\n";
    print $out "# ICU mapping table \"$icuName\", read from Perl's Encode codec \"$encodeName\".\n";
    print $out "# Generated by gen-icucnv-ucm.pl; do not edit.\n";
    printf $out "%-24s \"%s\"\n", '<code_set_name>', $icuName;
    printf $out "%-24s %d\n", '<mb_cur_max>', $multiByte ? 2 : 1;
    printf $out "%-24s %d\n", '<mb_cur_min>', 1;
    printf $out "%-24s \"%s\"\n", '<uconv_class>', $multiByte ? 'MBCS' : 'SBCS';
    printf $out "%-24s %s\n", '<subchar>', '\\x3F';
    if ($multiByte) {
        my @state0 = (Ranges('', @single), Ranges(':1', @lead));
        # Sort the ranges by their first byte so that the row reads in order.
        @state0 = sort { hex((split /[-:]/, $a)[0]) <=> hex((split /[-:]/, $b)[0]) } @state0;
        printf $out "%-24s %s\n", '<icu:state>', join(', ', @state0);
        printf $out "%-24s %s\n", '<icu:state>', join(', ', Ranges('', sort { $a <=> $b } keys %trail));
    }
    print $out "CHARMAP\n";
    my @lines;
    for my $bytes (keys %mappings) {
        my ($text, $precision) = @{$mappings{$bytes}};
        push @lines, [$bytes, UnicodeField($text) . ' ' . BytesField($bytes) . " |$precision"];
    }
    for my $char (keys %fallbacks) {
        push @lines, [$fallbacks{$char} . "\x{1}" . $char, UnicodeField($char) . ' ' . BytesField($fallbacks{$char}) . ' |1'];
    }
    # Byte order; an encode-only fallback right after the mapping of its bytes.
    for my $line (sort { $a->[0] cmp $b->[0] } @lines) {
        print $out $line->[1], "\n";
    }
    print $out "END CHARMAP\n";
    close($out) or die "$0: cannot write $path: $!\n";
}

Usage() if @ARGV < 2;
my ($outDir, @pairs) = @ARGV;
-d $outDir or die "$0: no folder $outDir\n";
for my $pair (@pairs) {
    my ($icuName, $encodeName) = split(/=/, $pair, 2);
    Usage() unless defined($encodeName) && length($icuName) && length($encodeName);
    WriteUcm(File::Spec->catfile($outDir, "$icuName.ucm"), $icuName, $encodeName);
}
