#pragma once

#include "platform/codecs/asf.h"

// The way from the WMA codecs to the reader of ASF files: they get the addresses of these
// functions.
extern "C" {

AVR_API short WMA_KIV_parseAsfHeader(short audioStream, short reserved, void* scratch,
                                     __wma_parser_params_common* input,
                                     __wma_parser_stream_params* stream);
AVR_API int WMA_KIV_fileGetInput(void* scratch, unsigned short** data, short* bytes, void* time,
                                 short* piece);
AVR_API int WMA_KIV_seek(void* scratch, unsigned int milliseconds, unsigned int* reached);

} // extern "C"
