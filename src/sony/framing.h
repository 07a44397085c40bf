// Where frames begin and end: VISCA for camera 1, Pelco-D for address 1, nothing else. Pure; the
// terminators and checksums are the command sets' business.
#pragma once

/// Frame types that CheckVISCACmd() tells apart.
enum FrameType { kViscaGeneral = 0, kPelcoD = 1, kViscaExtended = 2, kViscaDirect = 3 };

static const int kFrameStart = 5;     ///< Bytes that decide.
static const int kFrameExtension = 4; ///< More bytes of a direct command without terminator.
static const unsigned char kTerminator = 0xFF;

// The first two bytes of a VISCA frame.
static const unsigned char kViscaHeader = 0x81; ///< To camera 1.
static const unsigned char kViscaCommand = 0x01;
static const unsigned char kViscaInquiry = 0x09;
