package garden

func Beds(n int) int {
	return n +
}
