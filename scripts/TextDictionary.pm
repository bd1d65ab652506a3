# Reads and writes dictionaries in the text form (docs/dictionaries.md) for the scripts beside it.
# Needs nothing but perl-base. Values are in the spelling of the file, escapes and all.
package TextDictionary;
use strict;
use warnings;

# Named in messages and used by every script: from the root of the tree.
our $locales = 'shared_assets/locales';
our $name = 'MFXStrings.dct';
our $english = 'en_us';

my $mark = "\xFF\xFE";

# The path of a locale's dictionary.
sub path {
    my ($locale) = @_;
    return "$locales/$locale/$name";
}

# The bytes of a file; dies with its name.
sub bytesOf {
    my ($path) = @_;
    open my $file, '<:raw', $path or die "$path: $!\n";
    local $/;
    my $bytes = <$file>;
    close $file or die "$path: $!\n";
    return $bytes // '';
}

# The characters of UTF-16LE with its mark; dies with what is wrong.
sub decoded {
    my ($bytes) = @_;
    die "is not UTF-16LE with a byte-order mark\n" if substr($bytes, 0, 2) ne $mark;
    die "ends within a unit of UTF-16\n" if length($bytes) % 2;
    my @units = unpack 'v*', substr $bytes, 2;
    my $text = '';
    while (@units) {
        my $unit = shift @units;
        if ($unit >= 0xD800 && $unit <= 0xDBFF && @units && $units[0] >> 10 == 0x37) {
            $unit = 0x10000 + (($unit - 0xD800) << 10) + (shift(@units) - 0xDC00);
        } elsif ($unit >= 0xD800 && $unit <= 0xDFFF) {
            die "holds half of a surrogate pair\n";
        }
        $text .= chr $unit;
    }
    return $text;
}

# UTF-16LE with its mark.
sub encoded {
    my ($text) = @_;
    my @units = map {
        $_ < 0x10000 ? $_ : (0xD800 + ($_ - 0x10000 >> 10), 0xDC00 + ($_ - 0x10000 & 0x3FF))
    } map { ord } split //, $text;
    return $mark . pack 'v*', @units;
}

# The text of a dictionary file; dies with its path and what is wrong.
sub textOf {
    my ($path) = @_;
    my $bytes = bytesOf($path);
    my $text = eval { decoded($bytes) };
    die "$path: $@" unless defined $text;
    return $text;
}

# Writes the file anew: whole or not at all.
sub writeTo {
    my ($path, $text) = @_;
    my $fresh = "$path.$$";
    eval {
        open my $file, '>:raw', $fresh or die "$fresh: $!\n";
        print {$file} encoded($text) or die "$fresh: $!\n";
        close $file or die "$fresh: $!\n";
        rename $fresh, $path or die "$path: $!\n";
    } or do {
        my $error = $@;
        unlink $fresh;
        die $error;
    };
}

# The entries in their order, each with key, value and line; and what is wrong with other lines, each
# "NUMBER: WHAT". Stricter than readers of dictionaries: nothing stands beside an entry.
sub entriesOf {
    my ($text) = @_;
    my (@entries, @faults);
    push @faults, "1: the file is empty" if $text eq '';
    push @faults, ($text =~ tr/\n//) + 1 . ": the last line has no line end"
        if $text ne '' && $text !~ /\n\z/;
    my $number = 0;
    for my $line (split /\n/, $text) {
        ++$number;
        if ($line =~ /[\r\0\x{2028}\x{2029}]/) {
            push @faults, "$number: a line end other than LF, or a NUL";
        } elsif ($line =~ m{^"\$\$\$(/[^="\\]*)=((?:[^"]|(?<=\\)")*)"\z} && $2 !~ /\\\z/) {
            push @entries, {key => $1, value => $2, line => $number};
        } elsif ($line ne '') {
            push @faults, qq{$number: is not "\$\$\$/Key=Text"};
        }
    }
    return (\@entries, \@faults);
}

# A text in the spelling from which a reader makes it again.
sub spelled {
    my ($text) = @_;
    my %escapes = ('"' => '\\"', "\n" => '\\n', "\r" => '\\r', "\t" => '\\t', "\b" => '\\b',
        '\\' => '\\\\', '^' => '^^');
    # A placeholder stays readable, a reference must not become one, and a backslash right before
    # the quote mark at the end would hide it.
    $text =~ s{(\^(?=\d))|\#(?=\{)|(\\\z)|(["\n\r\t\x08\\^])|([\x{2028}\x{2029}])}
              {defined $1 ? '^'
                  : defined $2 ? '#{U+005C}'
                  : defined $3 ? $escapes{$3}
                  : defined $4 ? sprintf('#{U+%04X}', ord $4)
                  : '#{U+0023}'}gex;
    return $text;
}

# The folders of all locales, sorted.
sub localesHere {
    opendir my $folder, $locales or die "$locales: $!\n";
    my @found = sort grep { !/^\./ && -d "$locales/$_" } readdir $folder;
    closedir $folder;
    return @found;
}

1;
