#include "sim/FractionalMotion.h"

#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <vector>

namespace {

// FFTW's planner is not thread-safe; executing separate plans is.
std::mutex& PlannerMutex() {
  static std::mutex mutex;
  return mutex;
}

double Autocovariance(int64_t k, double hurst) {
  const double h2 = 2 * hurst;
  const double d = static_cast<double>(k);
  return 0.5 * (std::pow(d + 1, h2) - 2 * std::pow(d, h2) + std::pow(std::fabs(d - 1), h2));
}

}  // namespace

// The circulant of size 2·steps whose first row holds the autocovariance out to lag
// `steps` and back; its eigenvalues, scaled, turn complex white noise into two
// independent exact sequences (real and imaginary parts of one FFT).
struct FractionalNoise::Embedding {
  size_t size = 0;
  std::vector<double> scale;  // sqrt(eigenvalue / size)
  fftw_complex* buffer = nullptr;
  fftw_plan plan = nullptr;
  bool white = false;  // H = 1/2: independent terms, no FFT needed

  ~Embedding() {
    std::lock_guard<std::mutex> lock(PlannerMutex());
    if (plan) fftw_destroy_plan(plan);
    if (buffer) fftw_free(buffer);
  }
};

FractionalNoise::FractionalNoise(int32_t steps, double hurst) : steps_(std::max(steps, 0)) {
  auto e = std::make_unique<Embedding>();
  if (!(hurst > 0 && hurst < 1)) return;
  e->white = hurst == 0.5;
  if (e->white || steps_ == 0) {
    embedding_ = std::move(e);
    return;
  }
  e->size = 2 * static_cast<size_t>(steps_);
  {
    std::lock_guard<std::mutex> lock(PlannerMutex());
    e->buffer = static_cast<fftw_complex*>(fftw_malloc(sizeof(fftw_complex) * e->size));
    if (!e->buffer) return;
    e->plan = fftw_plan_dft_1d(static_cast<int>(e->size), e->buffer, e->buffer, FFTW_FORWARD,
                               FFTW_ESTIMATE);
    if (!e->plan) return;
  }
  for (size_t j = 0; j < e->size; ++j) {
    const int64_t lag = static_cast<int64_t>(std::min(j, e->size - j));
    e->buffer[j][0] = Autocovariance(lag, hurst);
    e->buffer[j][1] = 0;
  }
  fftw_execute(e->plan);
  double largest = 0;
  for (size_t k = 0; k < e->size; ++k) largest = std::max(largest, e->buffer[k][0]);
  e->scale.resize(e->size);
  for (size_t k = 0; k < e->size; ++k) {
    double eigenvalue = e->buffer[k][0];
    // Rounding leaves eigenvalues of a few ulps below 0; a real negative one means the
    // embedding does not exist.
    if (eigenvalue < -1e-9 * largest) return;
    eigenvalue = std::max(eigenvalue, 0.0);
    e->scale[k] = std::sqrt(eigenvalue / static_cast<double>(e->size));
  }
  embedding_ = std::move(e);
}

FractionalNoise::~FractionalNoise() = default;

bool FractionalNoise::Ready() const { return embedding_ != nullptr; }

void FractionalNoise::Draw(SimRandom& random, double* a, double* b) {
  if (!embedding_) return;
  Embedding& e = *embedding_;
  if (e.white) {
    for (int32_t i = 0; i < steps_; ++i) {
      a[i] = random.Normal();
      b[i] = random.Normal();
    }
    return;
  }
  for (size_t k = 0; k < e.size; ++k) {
    e.buffer[k][0] = e.scale[k] * random.Normal();
    e.buffer[k][1] = e.scale[k] * random.Normal();
  }
  fftw_execute(e.plan);
  for (int32_t i = 0; i < steps_; ++i) {
    a[i] = e.buffer[i][0];
    b[i] = e.buffer[i][1];
  }
}

FractionalTrackMaker::FractionalTrackMaker(const FractionalMotion& motion, double dT)
    : motion_(motion), dT_(dT) {}

FractionalTrackMaker::~FractionalTrackMaker() = default;

SimTrack FractionalTrackMaker::Make(SimRandom& random, const TrackStart& start) {
  const int32_t n = std::max(start.nPoints, 0);
  const int32_t sub = std::max(motion_.blurSubsteps, 1);
  const bool blur = sub > 1;
  // Blurred frame j averages the path at sub-steps j·sub + 1 .. (j + 1)·sub.
  const int64_t fineSteps = blur ? int64_t{n} * sub : std::max(n - 1, 0);
  SimTrack t = MakeStillTrack({n, start.firstFrame, start.x, start.y});
  if (n == 0 || fineSteps == 0 || fineSteps > (int64_t{1} << 22)) return t;
  const int32_t steps = static_cast<int32_t>(fineSteps);
  if (!noise_ || noise_->Steps() != steps)
    noise_ = std::make_unique<FractionalNoise>(steps, motion_.alpha / 2);
  if (!noise_->Ready()) return t;

  std::vector<double> gx(static_cast<size_t>(steps)), gy(static_cast<size_t>(steps));
  noise_->Draw(random, gx.data(), gy.data());
  // Per axis, a sub-step of length d moves with variance 2 D d^alpha.
  const double d = dT_ / sub;
  const double scale = std::sqrt(2 * std::max(motion_.D, 0.0) * std::pow(d, motion_.alpha));
  double px = 0, py = 0;
  size_t g = 0;
  for (int32_t j = 0; j < n; ++j) {
    double x = px, y = py;
    if (blur) {
      double sx = 0, sy = 0;
      for (int32_t s = 0; s < sub; ++s, ++g) {
        px += scale * gx[g];
        py += scale * gy[g];
        sx += px;
        sy += py;
      }
      x = sx / sub;
      y = sy / sub;
    } else if (j + 1 < n) {
      px += scale * gx[g];
      py += scale * gy[g];
      ++g;
    }
    t.X[static_cast<size_t>(j)] = static_cast<float>(start.x + x);
    t.Y[static_cast<size_t>(j)] = static_cast<float>(start.y + y);
  }
  return t;
}
