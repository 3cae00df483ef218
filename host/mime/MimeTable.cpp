#include "platform/MimeTable.h"

namespace kiv { namespace mimetype_ex {

// The first record of a format is its preferred type, the first with an ending is what a file of
// that name is taken for. The registry takes every record whose format begins with the name that
// it asks for, and the last registration of a type wins: no type stands here twice. Only the types
// that say so go to "he-aac". "raw" and "pcm" are no endings of "lpcm": such files mostly hold
// little-endian samples.
const MimeTypeInfo mimeinfo_list[] = {
    {"lpcm", "lpcm,l16", "audio/l16", "Linear PCM, 16-bit big-endian"},
    {"lpcm", "", "audio/lpcm", "Linear PCM, 16-bit big-endian"},
    {"lpcm", "", "audio/x-lpcm", "Linear PCM, 16-bit big-endian"},
    {"wav", "wav,wave", "audio/wav", "WAVE"},
    {"wav", "", "audio/x-wav", "WAVE"},
    {"wav", "", "audio/wave", "WAVE"},
    {"wav", "", "audio/x-pn-wav", "WAVE"},
    {"wav", "", "audio/vnd.wave", "WAVE"},
    {"ogg", "ogg,oga", "audio/ogg", "Ogg Vorbis"},
    {"ogg", "", "application/ogg", "Ogg Vorbis"},
    {"ogg", "", "application/x-ogg", "Ogg Vorbis"},
    {"ogg", "", "audio/x-ogg", "Ogg Vorbis"},
    {"ogg", "", "audio/vorbis", "Ogg Vorbis"},
    {"ogg", "", "audio/x-vorbis", "Ogg Vorbis"},
    {"ogg", "", "audio/x-vorbis+ogg", "Ogg Vorbis"},
    {"flac", "flac", "audio/flac", "FLAC"},
    {"flac", "", "audio/x-flac", "FLAC"},
    {"flac", "", "application/flac", "FLAC"},
    {"flac", "", "application/x-flac", "FLAC"},
    {"wma", "wma", "audio/x-ms-wma", "Windows Media Audio"},
    {"wma", "", "audio/wma", "Windows Media Audio"},
    {"wma", "", "audio/x-wma", "Windows Media Audio"},
    {"wma", "asf", "video/x-ms-asf", "Windows Media, ASF"},
    {"wma", "", "audio/x-ms-asf", "Windows Media, ASF"},
    {"wma", "", "application/vnd.ms-asf", "Windows Media, ASF"},
    {"he-aac", "aacp", "audio/aacp", "HE-AAC"},
    {"he-aac", "", "audio/x-aacp", "HE-AAC"},
    {"aac", "aac,adts,adif", "audio/aac", "AAC"},
    {"aac", "", "audio/x-aac", "AAC"},
    {"aac", "", "audio/aac-adts", "AAC, ADTS"},
    {"aac", "", "audio/x-hx-aac-adts", "AAC, ADTS"},
    {"aac", "", "audio/vnd.dlna.adts", "AAC, ADTS"},
    {"aac", "m4a,mp4,m4b", "audio/mp4", "AAC, MP4"},
    {"aac", "", "audio/x-m4a", "AAC, MP4"},
    {"aac", "", "audio/m4a", "AAC, MP4"},
    {"mp3", "mp3", "audio/mpeg", "MP3"},
    {"mp3", "", "audio/mp3", "MP3"},
    {"mp3", "", "audio/x-mp3", "MP3"},
    {"mp3", "", "audio/mpeg3", "MP3"},
    {"mp3", "", "audio/x-mpeg-3", "MP3"},
    {"mp3", "", "audio/x-mpeg", "MP3"},
    {"mp3", "", "audio/mpg", "MP3"},
    {"mp3", "", "audio/x-mpg", "MP3"},
};

const unsigned int MimeTypeInfoSize = sizeof(mimeinfo_list) / sizeof(mimeinfo_list[0]);

}} // namespace kiv::mimetype_ex
