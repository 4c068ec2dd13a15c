# The sources of the library, for every host: paths below this folder.
set(library_sources
    generatePointsInShell.cpp
    libZarnGI.cpp
    shellLattice.cpp
    vectorPaths.cpp
    gammaIndexKernelCPU/bookkeeping.cpp
    gammaIndexKernelCPU/doseReaders.cpp
    gammaIndexKernelCPU/driver.cpp
    gammaIndexKernelCPU/engineState.cpp
    gammaIndexKernelCPU/lattice/axes.cpp
    gammaIndexKernelCPU/lattice/cellGeometry.cpp
    gammaIndexKernelCPU/lattice/farPoint.cpp
    gammaIndexKernelCPU/lattice/pass.cpp
    gammaIndexKernelCPU/lattice/radiusGaps.cpp
    gammaIndexKernelCPU/lattice/scratch.cpp
    gammaIndexKernelCPU/passedMap.cpp
    gammaIndexKernelCPU/paths/portable.cpp
    gammaIndexKernelCPU/paths/vectorPath.cpp
    gammaIndexKernelCPU/progress.cpp
    gammaIndexKernelCPU/report.cpp
    gammaIndexKernelCPU/rotated/pointGroups.cpp
    gammaIndexKernelCPU/rotation.cpp
    gammaIndexKernelCPU/search.cpp
    gammaIndexKernelCPU/searchCriteria.cpp
    gammaIndexKernelCPU/setup.cpp
    gammaIndexKernelCPU/shares.cpp
    gammaIndexKernelCPU/shells.cpp
    gammaIndexKernelCPU/statistics.cpp
    gammaIndexKernelCPU/testedPlanes.cpp
    gammaIndexKernelCPU/watch.cpp
    gammaIndexKernelCPU/workers.cpp)

# The pseudo-random numbers of a rotation: the system's, where these are those of Linux.
if(WIN32)
    list(APPEND library_sources gammaIndexKernelCPU/randomNumbers/ownSequence.cpp)
else()
    list(APPEND library_sources gammaIndexKernelCPU/randomNumbers/system.cpp)
endif()

# The vector paths of one kind of processor.
set(library_x86_sources
    gammaIndexKernelCPU/paths/sse2.cpp
    gammaIndexKernelCPU/paths/avx2.cpp
    gammaIndexKernelCPU/paths/avx512.cpp)
