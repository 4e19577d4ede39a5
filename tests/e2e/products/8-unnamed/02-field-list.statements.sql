-- max rows 1
SELECT * FROM "Customer_Card" WHERE (1=2)
