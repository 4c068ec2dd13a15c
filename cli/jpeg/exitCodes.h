/**
 * @file exitCodes.h
 * How the decoding program tells the program how it went.
 */
#ifndef ZARNGI_CLI_JPEG_EXITCODES_H
#define ZARNGI_CLI_JPEG_EXITCODES_H

namespace jpeg
{

enum ExitCode { unpacked = 0, refused = 1 };

} // namespace jpeg

#endif
