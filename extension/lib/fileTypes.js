// The file-type table (data/fileTypes.plist) as the add-on needs it: each entry's icon and
// extensions, in the table's order. A test checks it against the table.
export const fileTypes = [
    { icon: 'audio', extensions: ['mp3', 'm4a', 'm4b', 'm4r', 'aac', 'wav', 'aif', 'aiff', 'aifc', 'caf', 'flac', 'alac', 'ogg', 'oga', 'opus', 'wma', 'amr', 'mid', 'midi', 'ape'] },
    { icon: 'video', extensions: ['mp4', 'm4v', 'mov', 'avi', 'mkv', 'webm', 'wmv', 'flv', '3gp', '3g2', 'mpg', 'mpeg', 'm2ts', 'mts', 'ts', 'ogv', 'vob'] },
    { icon: 'image', extensions: ['jpg', 'jpeg', 'png', 'gif', 'bmp', 'tif', 'tiff', 'heic', 'heif', 'webp', 'svg', 'ico', 'psd', 'raw', 'cr2', 'nef'] },
    { icon: 'pdf', extensions: ['pdf'] },
    { icon: 'document', extensions: ['doc', 'docx', 'odt', 'rtf', 'pages', 'wpd'] },
    { icon: 'spreadsheet', extensions: ['xls', 'xlsx', 'ods', 'numbers', 'csv', 'tsv'] },
    { icon: 'presentation', extensions: ['ppt', 'pptx', 'odp', 'key'] },
    { icon: 'ebook', extensions: ['epub', 'mobi', 'azw', 'azw3', 'fb2', 'cbz', 'cbr'] },
    { icon: 'archive', extensions: ['zip', 'rar', '7z', 'tar', 'gz', 'tgz', 'bz2', 'tbz', 'xz', 'txz', 'zst', 'lz', 'lzma', 'z'] },
    { icon: 'disk-image', extensions: ['dmg', 'iso', 'img'] },
    { icon: 'package', extensions: ['deb', 'ipa', 'apk', 'rpm', 'pkg'] },
    { icon: 'font', extensions: ['ttf', 'otf', 'woff', 'woff2'] },
    { icon: 'text', extensions: ['txt', 'text', 'md', 'markdown', 'log', 'nfo', 'srt', 'vtt', 'sub', 'ini', 'cfg', 'conf'] },
    { icon: 'code', extensions: ['c', 'h', 'cc', 'cpp', 'cxx', 'hpp', 'm', 'mm', 'swift', 'py', 'rb', 'pl', 'php', 'js', 'mjs', 'css', 'html', 'htm', 'xml', 'json', 'plist', 'yaml', 'yml', 'sh', 'bash', 'zsh', 'java', 'kt', 'go', 'rs', 'lua', 'sql'] },
];
