#include "AsfGlue.h"

short WMA_KIV_parseAsfHeader(short audioStream, short reserved, void* scratch,
                             __wma_parser_params_common* input, __wma_parser_stream_params* stream)
{
    return ASF_parseAsfHeader(audioStream, reserved, scratch, input, stream);
}

int WMA_KIV_fileGetInput(void* scratch, unsigned short** data, short* bytes, void* time,
                         short* piece)
{
    return ASF_fileGetInput(scratch, data, bytes, time, piece);
}

int WMA_KIV_seek(void* scratch, unsigned int milliseconds, unsigned int* reached)
{
    return ASF_seek(scratch, milliseconds, reached);
}
