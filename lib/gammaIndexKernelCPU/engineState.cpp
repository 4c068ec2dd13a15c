#include "engineState.h"

float DCO = 0.0F;
float DTA = 0.0F;
float DD = 0.0F;
float DDvalue = 0.0F;
bool localDD = false;
std::vector<ActiveVoxel> activeVoxels;
std::vector<vec3dRT> ptsSob_vox;
std::int32_t nC = 1;
const std::vector<vec3dRT>* evalPoints = nullptr;
std::int32_t pthreads_max_num = 1;
float Rot[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
std::atomic<bool> trilinDebug{false};
std::atomic<bool> bilinDebug{false};
