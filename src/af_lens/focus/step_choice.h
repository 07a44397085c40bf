// How far the focus goes before the next sample of a coarse pass.
#pragma once

extern "C" {

/// Step ceiling for a search range: the wider the range, the longer the steps.
unsigned char Lens_Get_StepMax(unsigned int nLimit, unsigned int fLimit);
}
